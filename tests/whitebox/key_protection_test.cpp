// key_protection_test.cpp: the protected key form and the encodings it and
// the tables are built from.
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "byte_bijection.h"
#include "chacha20_stream.h"
#include "key_protection.h"

namespace {

const uint8_t kSeedA[32] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
const uint8_t kSeedB[32] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12};

TEST(KeyProtection, UnprotectInvertsProtectForBothKeySizes) {
  for (unsigned len : {16u, 32u}) {
    uint8_t raw[32], wrapped[32], back[32];
    for (unsigned i = 0; i < len; ++i) raw[i] = static_cast<uint8_t>(i * 37 + 5);
    zel_wbgen::protect_key(kSeedA, raw, len, wrapped);
    zel_wbgen::unprotect_key(kSeedA, wrapped, len, back);
    EXPECT_EQ(std::memcmp(raw, back, len), 0) << len;
    EXPECT_NE(std::memcmp(raw, wrapped, len), 0) << len;
  }
}

// Every position, key size and seed has a bijection of its own: the same
// key byte everywhere protects to differing bytes, and the AES-128 form is
// not the first half of the AES-256 form.
TEST(KeyProtection, MapsDifferByPositionKeySizeAndSeed) {
  uint8_t zeros[32] = {};
  uint8_t a128[16], a256[32], b128[16];
  zel_wbgen::protect_key(kSeedA, zeros, 16, a128);
  zel_wbgen::protect_key(kSeedA, zeros, 32, a256);
  zel_wbgen::protect_key(kSeedB, zeros, 16, b128);
  EXPECT_GT(std::set<uint8_t>(a256, a256 + 32).size(), 20u);
  EXPECT_NE(std::memcmp(a128, a256, 16), 0);
  EXPECT_NE(std::memcmp(a128, b128, 16), 0);
}

// The stream is ChaCha20 (RFC 8439) keyed by the seed, counter 0, nonce =
// purpose, "zel", "wb" (little-endian words). The expected words were
// computed with an independent ChaCha20 implementation (Python's
// cryptography package); a slip in the block function would otherwise go
// unnoticed, as its output stays deterministic.
TEST(ChaCha20Stream, IsChaCha20AndSeparatesPurposesAndSeeds) {
  zel_wbgen::ChaCha20Stream a(kSeedA, zel_wbgen::StreamPurpose::kEncryptorCore);
  const uint32_t expected[4] = {0x8fc54f6d, 0xcf31680d, 0x7c31fbe3, 0x96f022f7};
  for (uint32_t word : expected) EXPECT_EQ(a.next_u32(), word);

  zel_wbgen::ChaCha20Stream a2(kSeedA, zel_wbgen::StreamPurpose::kEncryptorCore);
  zel_wbgen::ChaCha20Stream b(kSeedA, zel_wbgen::StreamPurpose::kDecryptorCore);
  zel_wbgen::ChaCha20Stream c(kSeedB, zel_wbgen::StreamPurpose::kEncryptorCore);
  unsigned equal_ab = 0, equal_ac = 0;
  for (int i = 0; i < 64; ++i) {
    const uint32_t va = a2.next_u32();
    equal_ab += va == b.next_u32();
    equal_ac += va == c.next_u32();
  }
  EXPECT_EQ(equal_ab, 0u);
  EXPECT_EQ(equal_ac, 0u);
}

}  // namespace
