// byte_scan.h: searching memory and files for byte patterns, for the
// key-leak and table tests.
//
// WindowSet finds any 8-byte window of known public tables (the S-box, the
// T-tables) in a buffer. MaskedPatterns finds 16-byte secrets (a key, a
// round key) while holding them only XOR-masked, so that the scanner's own
// memory never contains what it looks for.
#ifndef ZEL_TESTS_WHITEBOX_BYTE_SCAN_H
#define ZEL_TESTS_WHITEBOX_BYTE_SCAN_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

class WindowSet {
 public:
  // add takes every 8-byte window of |data|.
  void add(const std::vector<uint8_t>& data);
  // first_match returns the offset of the first window of |data| in the
  // set, or -1.
  long first_match(const uint8_t* data, size_t size) const;

 private:
  std::unordered_set<uint64_t> windows_;
};

class MaskedPatterns {
 public:
  static constexpr uint8_t kMask = 0xa7;
  // add takes a 16-byte pattern; the caller wipes its plain copy.
  void add(const uint8_t pattern[16]);
  size_t size() const { return masked_.size() / 16; }
  // count_in counts the occurrences of any pattern in |data|.
  size_t count_in(const uint8_t* data, size_t size) const;
  // unmask_into writes pattern |index| in plain, for positive controls.
  void unmask_into(size_t index, uint8_t out[16]) const;

 private:
  std::vector<uint8_t> masked_;
  bool first_byte_[256] = {};
};

// read_file returns a file's bytes (empty when it cannot be read).
std::vector<uint8_t> read_file(const std::string& path);

// scan_writable_memory counts pattern occurrences in the process's readable
// and writable mappings (from /proc/self/maps, read through /proc/self/mem);
// mappings larger than 1 GiB (sanitizer shadow) are skipped.
// |bytes_scanned| receives the amount of memory read.
size_t scan_writable_memory(const MaskedPatterns& patterns,
                            size_t& bytes_scanned);

#endif  // ZEL_TESTS_WHITEBOX_BYTE_SCAN_H
