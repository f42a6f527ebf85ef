// key_leak_test.cpp: the raw development store keys and every round key of
// their expansions appear neither in the built library nor anywhere in the
// process's writable memory while and after the cipher wrappers run on the
// protected keys (the store key the library embeds, keys/egsk256.bin).
//
// The patterns are kept XOR-masked, so that the test's own copy is not
// found; the raw keys are read into a stack buffer that is wiped. Controls
// plant a pattern in plain and expect the scan to see it.
#define _FILE_OFFSET_BITS 64
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "aes_reference.h"

namespace {

using Bytes = std::vector<uint8_t>;
constexpr uint8_t kMask = 0xa7;
Bytes masked;  // 16-byte patterns, XOR kMask

Bytes read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

void add_key_patterns(const char* name) {
  uint8_t raw[32];
  const int fd = ::open((std::string(ZEL_KEYS_DIR) + "/" + name).c_str(), O_RDONLY);
  const ssize_t len = fd < 0 ? 0 : ::read(fd, raw, sizeof raw);
  ::close(fd);
  ASSERT_TRUE(len == 16 || len == 32) << name;
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(raw, static_cast<unsigned>(len), schedule);
  for (unsigned r = 0; r <= schedule.rounds; ++r)
    for (uint8_t b : schedule.round_key[r]) masked.push_back(b ^ kMask);
  zel_ref::aes_wipe(schedule);
  zel_ref::secure_wipe(raw, sizeof raw);
}

size_t count_in(const uint8_t* data, size_t size) {
  size_t hits = 0;
  for (size_t i = 0; i + 16 <= size; ++i)
    for (size_t p = 0; p < masked.size(); p += 16) {
      size_t j = 0;
      while (j < 16 && (data[i + j] ^ kMask) == masked[p + j]) ++j;
      hits += j == 16;
    }
  return hits;
}

size_t scan_writable_memory() {
  std::FILE* maps = std::fopen("/proc/self/maps", "r");
  const int mem = ::open("/proc/self/mem", O_RDONLY);
  size_t hits = 0;
  char line[512];
  Bytes chunk;
  while (maps && std::fgets(line, sizeof line, maps)) {
    unsigned long start, end;
    char perms[5];
    if (std::sscanf(line, "%lx-%lx %4s", &start, &end, perms) != 3 ||
        perms[1] != 'w' || end - start > (1ul << 30))
      continue;
    chunk.resize(end - start);
    const ssize_t got = ::pread(mem, chunk.data(), chunk.size(), static_cast<off_t>(start));
    if (got > 0) hits += count_in(chunk.data(), static_cast<size_t>(got));
  }
  std::fill(chunk.begin(), chunk.end(), 0);
  if (maps) std::fclose(maps);
  ::close(mem);
  return hits;
}

TEST(KeyLeak, NeitherLibraryNorWritableMemoryHoldsARawKeyOrRoundKey) {
  add_key_patterns("egsk-raw.bin");
  add_key_patterns("egsk256-raw.bin");
  ASSERT_EQ(masked.size(), 16u * (11 + 15));
  Bytes library = read_file(ZEL_LIBRARY_FILE);
  EXPECT_EQ(count_in(library.data(), library.size()), 0u);
  for (int i = 0; i < 16; ++i) library[1000 + i] = masked[16 * 7 + i] ^ kMask;
  EXPECT_EQ(count_in(library.data(), library.size()), 1u);  // control
  std::fill(library.begin(), library.end(), 0);

  const Bytes iv = read_file(ZEL_KEYS_DIR "/uid.bin");
  std::vector<std::unique_ptr<PKIWB_encrypt>> encryptors;
  std::vector<std::unique_ptr<PKIWB_decrypt>> decryptors;
  for (const std::string name : {ZEL_STORE_KEY_FILE, ZEL_KEYS_DIR "/egsk256.bin"}) {
    const Bytes key = read_file(name);
    const unsigned size = static_cast<unsigned>(key.size());
    Bytes plain(1000, 0x42), cipher(1008), back(1008), recrypted(1008);
    encryptors.emplace_back(new PKIWB_encrypt(size));
    decryptors.emplace_back(new PKIWB_decrypt(size));
    encryptors.back()->encrypt_payload(key.data(), iv.data(), plain.data(), 1000, cipher.data());
    ASSERT_EQ(decryptors.back()->decrypt_payload(key.data(), iv.data(), cipher.data(), 1008, back.data()), 1000u);
    decryptors.back()->recrypt_payload(key.data(), iv.data(), cipher.data(), 1008, recrypted.data());
  }
  EXPECT_EQ(scan_writable_memory(), 0u);
  encryptors.clear();
  decryptors.clear();
  EXPECT_EQ(scan_writable_memory(), 0u);
  std::unique_ptr<uint8_t[]> planted(new uint8_t[16]);
  for (int i = 0; i < 16; ++i) planted[i] = masked[16 * 12 + i] ^ kMask;
  EXPECT_GE(scan_writable_memory(), 1u);  // control
  zel_ref::secure_wipe(planted.get(), 16);
}

}  // namespace
