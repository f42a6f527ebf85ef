// key_leak_test.cpp: the raw development store keys and every round key of
// their expansions appear neither in the built library nor anywhere in the
// process's writable memory while and after the cipher wrappers run on the
// protected keys (the store key the library embeds, keys/egsk256.bin).
//
// The raw keys are read with plain system calls into a stack buffer, turned
// into masked patterns (byte_scan.h) and wiped, so that the test itself
// leaves no copy for the scan to find. Positive controls plant a pattern in
// plain and expect the scan to see it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "aes_reference.h"
#include "byte_scan.h"

namespace {

// read_small_file reads up to 32 bytes without stdio buffering.
size_t read_small_file(const std::string& path, uint8_t out[32]) {
  const int fd = ::open(path.c_str(), O_RDONLY);
  if (fd < 0) return 0;
  const ssize_t got = ::read(fd, out, 32);
  ::close(fd);
  return got > 0 ? static_cast<size_t>(got) : 0;
}

// add_key_patterns adds the raw key of |raw_file| and all its round keys.
void add_key_patterns(const std::string& raw_file, MaskedPatterns& patterns) {
  uint8_t raw[32];
  const size_t len = read_small_file(raw_file, raw);
  ASSERT_TRUE(len == 16 || len == 32) << raw_file;
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(raw, static_cast<unsigned>(len), schedule);
  // Round keys 0 (and 1 for AES-256) are the raw key itself.
  for (unsigned r = 0; r <= schedule.rounds; ++r)
    patterns.add(schedule.round_key[r]);
  zel_ref::aes_wipe(schedule);
  zel_ref::secure_wipe(raw, sizeof raw);
}

std::vector<uint8_t> key_file(const char* name) {
  return read_file(std::string(ZEL_KEYS_DIR) + "/" + name);
}

class KeyLeakTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    patterns_ = new MaskedPatterns;
    add_key_patterns(std::string(ZEL_KEYS_DIR) + "/egsk-raw.bin", *patterns_);
    add_key_patterns(std::string(ZEL_KEYS_DIR) + "/egsk256-raw.bin",
                     *patterns_);
  }
  static void TearDownTestSuite() { delete patterns_; }
  static MaskedPatterns* patterns_;
};
MaskedPatterns* KeyLeakTest::patterns_ = nullptr;

TEST_F(KeyLeakTest, PatternsCoverEveryRoundKeyOfBothKeys) {
  EXPECT_EQ(patterns_->size(), 11u + 15u);
}

TEST_F(KeyLeakTest, LibraryFileHoldsNoRawKeyOrRoundKey) {
  const std::vector<uint8_t> library = read_file(ZEL_LIBRARY_FILE);
  ASSERT_GT(library.size(), 100000u);
  EXPECT_EQ(patterns_->count_in(library.data(), library.size()), 0u);

  // Control: a round key spliced into a copy of the file is found.
  std::vector<uint8_t> copy = library;
  patterns_->unmask_into(7, &copy[copy.size() / 2 + 3]);
  EXPECT_EQ(patterns_->count_in(copy.data(), copy.size()), 1u);
  std::fill(copy.begin(), copy.end(), 0);
}

// One encryption, decryption and re-encryption per key size through the
// wrappers, with the objects (and their keyed working blocks) still alive
// during the first scan and released before the second.
TEST_F(KeyLeakTest, WritableMemoryHoldsNoRawKeyOrRoundKey) {
  const std::vector<uint8_t> iv = key_file("uid.bin");
  ASSERT_EQ(iv.size(), 16u);
  std::vector<std::unique_ptr<PKIWB_encrypt>> encryptors;
  std::vector<std::unique_ptr<PKIWB_decrypt>> decryptors;
  for (const std::string& name :
       {std::string(ZEL_STORE_KEY_FILE), std::string(ZEL_KEYS_DIR) + "/egsk256.bin"}) {
    const std::vector<uint8_t> key = read_file(name);
    ASSERT_TRUE(key.size() == 16 || key.size() == 32) << name;
    const unsigned size = static_cast<unsigned>(key.size());
    std::vector<uint8_t> plain(1000, 0x42), cipher(1008), back(1008),
        recrypted(1008);
    encryptors.emplace_back(new PKIWB_encrypt(size));
    decryptors.emplace_back(new PKIWB_decrypt(size));
    const unsigned written = encryptors.back()->encrypt_payload(
        key.data(), iv.data(), plain.data(), 1000, cipher.data());
    ASSERT_EQ(written, 1008u);
    ASSERT_EQ(decryptors.back()->decrypt_payload(key.data(), iv.data(),
                                                 cipher.data(), written,
                                                 back.data()),
              1000u);
    back.resize(1000);
    EXPECT_EQ(back, plain) << name;
    decryptors.back()->recrypt_payload(key.data(), iv.data(), cipher.data(),
                                       written, recrypted.data());
  }
  size_t scanned = 0;
  EXPECT_EQ(scan_writable_memory(*patterns_, scanned), 0u);
  EXPECT_GT(scanned, 2u * 400000u);  // the working blocks were read
  encryptors.clear();
  decryptors.clear();
  EXPECT_EQ(scan_writable_memory(*patterns_, scanned), 0u);

  // Control: a round key planted on the heap is found, then wiped.
  std::unique_ptr<uint8_t[]> planted(new uint8_t[16]);
  patterns_->unmask_into(12, planted.get());
  EXPECT_GE(scan_writable_memory(*patterns_, scanned), 1u);
  zel_ref::secure_wipe(planted.get(), 16);
}

}  // namespace
