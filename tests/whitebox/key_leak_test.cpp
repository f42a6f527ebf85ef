// key_leak_test.cpp: the raw store keys and every round key of their
// expansions appear neither in the built library nor anywhere in the
// process's writable memory while and after the cipher wrappers run on the
// protected keys (the store key the library embeds, keys/egsk256.bin).
//
// The raw keys are the protected ones unwrapped under the build's seed, as
// zel-egsk unwrap does, so a product build checks its own keys. The
// patterns are kept XOR-masked, so that the test's own copy is not found;
// the raw keys are unwrapped into a stack buffer that is wiped. A control
// plants a pattern in plain and expects the scan to see it. A key setup
// also leaves none of its expanded key (encoded) on the stack.
#define _FILE_OFFSET_BITS 64
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "aes_reference.h"
#include "key_protection.h"
#include "seed_file.h"
#include "temp_dir.h"

namespace {

constexpr uint8_t kMask = 0xa7;
std::vector<uint8_t> masked;  // 16-byte patterns, XOR kMask
bool first_byte[256];  // some pattern starts with this byte (a fast filter)

void add_key_patterns(const char* protected_key) {
  const std::string key = ReadFile(protected_key);
  ASSERT_TRUE(key.size() == 16 || key.size() == 32) << protected_key;
  zel_wbgen::Seed seed;
  std::string error;
  ASSERT_TRUE(zel_wbgen::read_seed_file(ZEL_WB_SEED_FILE, seed, error)) << error;
  const auto len = static_cast<unsigned>(key.size());
  uint8_t raw[32];
  zel_wbgen::unprotect_key(seed.bytes, reinterpret_cast<const uint8_t*>(key.data()), len, raw);
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(raw, len, schedule);
  for (unsigned r = 0; r <= schedule.rounds; ++r) {
    first_byte[schedule.round_key[r][0]] = true;
    for (uint8_t b : schedule.round_key[r]) masked.push_back(b ^ kMask);
  }
  zel_ref::aes_wipe(schedule);
  zel_ref::secure_wipe(raw, sizeof raw);
}

size_t count_in(const uint8_t* data, size_t size) {
  size_t hits = 0;
  for (size_t i = 0; i + 16 <= size; ++i)
    for (size_t p = 0; first_byte[data[i]] && p < masked.size(); p += 16) {
      size_t j = 0;
      while (j < 16 && (data[i + j] ^ kMask) == masked[p + j]) ++j;
      hits += j == 16;
    }
  return hits;
}

// scan_writable_memory reads every writable mapping below 1 GiB through
// /proc/self/mem (not in place: sanitizers poison heap red zones).
size_t scan_writable_memory() {
  std::FILE* maps = std::fopen("/proc/self/maps", "r");
  const int mem = ::open("/proc/self/mem", O_RDONLY);
  size_t hits = 0;
  char line[512], perms[5];
  unsigned long start, end;
  std::vector<uint8_t> chunk;
  while (std::fgets(line, sizeof line, maps))
    if (std::sscanf(line, "%lx-%lx %4s", &start, &end, perms) == 3 &&
        perms[1] == 'w' && end - start <= (1ul << 30)) {
      chunk.resize(end - start);
      const ssize_t got = ::pread(mem, chunk.data(), chunk.size(), static_cast<off_t>(start));
      if (got > 0) hits += count_in(chunk.data(), static_cast<size_t>(got));
    }
  std::fill(chunk.begin(), chunk.end(), 0);
  std::fclose(maps);
  ::close(mem);
  return hits;
}

TEST(KeyLeak, NeitherLibraryNorWritableMemoryHoldsARawKeyOrRoundKey) {
  add_key_patterns(ZEL_STORE_KEY_FILE);
  add_key_patterns(ZEL_KEYS_DIR "/egsk256.bin");
  const std::string library = ReadFile(ZEL_LIBRARY_FILE);
  EXPECT_EQ(count_in(reinterpret_cast<const uint8_t*>(library.data()), library.size()), 0u);

  const std::string iv = ReadFile(ZEL_KEYS_DIR "/uid.bin");
  std::vector<std::unique_ptr<PKIWB_encrypt>> encryptors;
  std::vector<std::unique_ptr<PKIWB_decrypt>> decryptors;
  for (const char* name : {ZEL_STORE_KEY_FILE, ZEL_KEYS_DIR "/egsk256.bin"}) {
    const std::string k = ReadFile(name);
    const auto *key = reinterpret_cast<const uint8_t*>(k.data()),
               *v = reinterpret_cast<const uint8_t*>(iv.data());
    std::vector<uint8_t> plain(1000, 0x42), cipher(1008), back(1008);
    encryptors.emplace_back(new PKIWB_encrypt(static_cast<unsigned>(k.size())));
    decryptors.emplace_back(new PKIWB_decrypt(static_cast<unsigned>(k.size())));
    encryptors.back()->encrypt_payload(key, v, plain.data(), 1000, cipher.data());
    ASSERT_EQ(decryptors.back()->decrypt_payload(key, v, cipher.data(), 1008, back.data()), 1000u);
    decryptors.back()->recrypt_payload(key, v, cipher.data(), 1008, back.data());
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

// The key setup's expanded key (encoded, but key material) is wiped from
// the stack: the stack below this frame is painted, a setup of one key runs
// and the bytes it left are kept; the same with a second key. Bytes that
// differ between the two are what the setups left of their keys. Without
// the wipe that is the whole expanded key (176 bytes or more).
constexpr size_t kStackDepth = 64 * 1024;
uint8_t left_by_setup[2][kStackDepth];

__attribute__((noinline)) void paint_stack() {
  uint8_t area[kStackDepth];
  std::memset(area, 0xa5, sizeof area);
  asm volatile("" : : "r"(area) : "memory");
}

__attribute__((noinline)) void keep_stack(uint8_t* copy) {
  uint8_t area[kStackDepth];
  asm volatile("" : : "r"(area) : "memory");  // what the setups left here
  std::memcpy(copy, area, sizeof area);
}

TEST(KeyLeak, KeySetupLeavesNoExpandedKeyOnTheStack) {
  for (unsigned key_size : {16u, 32u})
    for (bool decrypting : {false, true}) {
      PKIWB_encrypt encryptor(key_size);
      PKIWB_decrypt decryptor(key_size);
      // Run 0 only warms up: the first calls resolve symbols through the
      // dynamic linker, which leaves its own bytes on the stack.
      for (unsigned run = 0; run < 3; ++run) {
        uint8_t key[32];
        std::memset(key, 0x11 * (run + 1), sizeof key);
        paint_stack();
        decrypting ? decryptor.aes_init(key) : encryptor.aes_init(key);
        keep_stack(left_by_setup[run == 0 ? 0 : run - 1]);
      }
      size_t differing = 0;
      for (size_t i = 0; i < kStackDepth; ++i)
        differing += left_by_setup[0][i] != left_by_setup[1][i];
      EXPECT_LT(differing, 64u)
          << "key size " << key_size << (decrypting ? ", decryptor" : ", encryptor");
    }
}

}  // namespace
