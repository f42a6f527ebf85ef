// core_cbc_test.cpp: what the cipher tests (which drive the white-box core
// through the wrappers with public vectors and OpenSSL) cannot see: key
// setups on one state replacing each other, and keys that are not in the
// protected form.
#include <gtest/gtest.h>

#include <random>

#include "core_driver.h"

namespace {

Bytes random_bytes(std::mt19937& rng, size_t n) {
  Bytes out(n);
  for (uint8_t& b : out) b = static_cast<uint8_t>(rng());
  return out;
}

class CoreCbcTest : public ::testing::TestWithParam<unsigned> {
 protected:
  CoreCbcTest() : rng_(GetParam()) {
    raw_key_ = random_bytes(rng_, GetParam());
    key_ = protect_with_build_seed(raw_key_);
    iv_ = random_bytes(rng_, 16);
  }
  std::mt19937 rng_;
  Bytes raw_key_, key_, iv_;
};

std::string key_size_name(const ::testing::TestParamInfo<unsigned>& param) {
  return "Aes" + std::to_string(param.param * 8);
}

INSTANTIATE_TEST_SUITE_P(KeySizes, CoreCbcTest, ::testing::Values(16u, 32u),
                         key_size_name);

// A key setup discards the chain and the previous key.
TEST_P(CoreCbcTest, KeySetupRestartsTheChain) {
  const Bytes plain = random_bytes(rng_, 32);
  const Bytes other_key = protect_with_build_seed(random_bytes(rng_, GetParam()));
  EncryptorCore enc;
  enc.key_setup(other_key, {});
  enc.encrypt(to_white(plain));
  enc.key_setup(key_, iv_);
  EXPECT_EQ(enc.encrypt(to_white(plain)),
            reference_cbc_encrypt(raw_key_, iv_, plain));

  DecryptorCore dec;
  dec.key_setup(other_key, iv_);
  dec.decrypt(plain);
  dec.key_setup(key_, {});
  const Bytes cipher = reference_cbc_encrypt(raw_key_, {}, plain);
  EXPECT_EQ(from_yellow(dec.decrypt(cipher)), plain);
}

// One state serves keys of both sizes in turn (the wrappers never do this,
// but a key setup must not depend on what the previous one left).
TEST(CoreKeySizes, OneStateTakesBothKeySizesInTurn) {
  std::mt19937 rng(7);
  const Bytes plain = random_bytes(rng, 32);
  EncryptorCore enc;
  DecryptorCore dec;
  for (unsigned len : {32u, 16u, 32u}) {
    const Bytes raw = random_bytes(rng, len);
    const Bytes cipher = reference_cbc_encrypt(raw, {}, plain);
    enc.key_setup(protect_with_build_seed(raw), {});
    EXPECT_EQ(enc.encrypt(to_white(plain)), cipher) << len;
    dec.key_setup(protect_with_build_seed(raw), {});
    EXPECT_EQ(from_yellow(dec.decrypt(cipher)), plain) << len;
  }
}

// The protected form is what the key setups take: the raw key given as if
// it were protected must not encrypt under the raw key.
TEST_P(CoreCbcTest, RawKeyIsNotAcceptedAsProtectedKey) {
  const Bytes plain = random_bytes(rng_, 16);
  EncryptorCore enc;
  enc.key_setup(raw_key_, iv_);
  EXPECT_NE(enc.encrypt(to_white(plain)),
            reference_cbc_encrypt(raw_key_, iv_, plain));
}

TEST(CoreEncodings, InputAndOutputFormsArePermutationsOtherThanIdentity) {
  for (const uint8_t* table :
       {wb_enc::wb_input_encoding, wb_dec::wb_output_decoding}) {
    bool seen[256] = {};
    unsigned fixed_points = 0;
    for (unsigned x = 0; x < 256; ++x) {
      seen[table[x]] = true;
      fixed_points += table[x] == x;
    }
    for (bool s : seen) EXPECT_TRUE(s);
    EXPECT_LT(fixed_points, 16u);
  }
}

}  // namespace
