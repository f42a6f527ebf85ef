// byte_scan.cpp: see byte_scan.h.
//
// 64-bit file offsets: /proc/self/mem is addressed by virtual address,
// which exceeds 2 GiB in 32-bit processes too.
#define _FILE_OFFSET_BITS 64

#include "byte_scan.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

void WindowSet::add(const std::vector<uint8_t>& data) {
  for (size_t i = 0; i + 8 <= data.size(); ++i) {
    uint64_t w;
    std::memcpy(&w, &data[i], 8);
    windows_.insert(w);
  }
}

long WindowSet::first_match(const uint8_t* data, size_t size) const {
  for (size_t i = 0; i + 8 <= size; ++i) {
    uint64_t w;
    std::memcpy(&w, data + i, 8);
    if (windows_.count(w)) return static_cast<long>(i);
  }
  return -1;
}

void MaskedPatterns::add(const uint8_t pattern[16]) {
  for (int i = 0; i < 16; ++i) masked_.push_back(pattern[i] ^ kMask);
  first_byte_[pattern[0]] = true;
}

size_t MaskedPatterns::count_in(const uint8_t* data, size_t size) const {
  size_t hits = 0;
  for (size_t i = 0; i + 16 <= size; ++i) {
    if (!first_byte_[data[i]]) continue;
    for (size_t p = 0; p < masked_.size(); p += 16) {
      size_t j = 0;
      while (j < 16 && (data[i + j] ^ kMask) == masked_[p + j]) ++j;
      hits += j == 16;
    }
  }
  return hits;
}

void MaskedPatterns::unmask_into(size_t index, uint8_t out[16]) const {
  for (int i = 0; i < 16; ++i) out[i] = masked_[16 * index + i] ^ kMask;
}

std::vector<uint8_t> read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(file), {});
}

size_t scan_writable_memory(const MaskedPatterns& patterns,
                            size_t& bytes_scanned) {
  bytes_scanned = 0;
  std::FILE* maps = std::fopen("/proc/self/maps", "r");
  const int mem = ::open("/proc/self/mem", O_RDONLY);
  if (maps == nullptr || mem < 0) return 0;
  // Collect the ranges first: reading them allocates nothing in between.
  std::vector<std::pair<unsigned long, unsigned long>> ranges;
  char line[512];
  while (std::fgets(line, sizeof line, maps)) {
    unsigned long start, end;
    char perms[5];
    if (std::sscanf(line, "%lx-%lx %4s", &start, &end, perms) != 3) continue;
    if (perms[0] != 'r' || perms[1] != 'w') continue;
    if (end - start > (1ul << 30)) continue;
    ranges.emplace_back(start, end);
  }
  std::fclose(maps);
  size_t hits = 0;
  std::vector<uint8_t> chunk(1 << 20);
  for (const auto& range : ranges) {
    // Overlap chunks by 15 bytes so a pattern across a boundary is seen.
    for (unsigned long at = range.first; at < range.second;) {
      const size_t want = std::min<unsigned long>(chunk.size(), range.second - at);
      const ssize_t got = ::pread(mem, chunk.data(), want, static_cast<off_t>(at));
      if (got <= 0) break;
      hits += patterns.count_in(chunk.data(), static_cast<size_t>(got));
      bytes_scanned += static_cast<size_t>(got);
      if (static_cast<size_t>(got) < 16 || at + got >= range.second) break;
      at += static_cast<unsigned long>(got) - 15;
    }
  }
  std::memset(chunk.data(), 0, chunk.size());
  ::close(mem);
  return hits;
}
