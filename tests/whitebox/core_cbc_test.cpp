// core_cbc_test.cpp: the white-box cores compute standard AES-CBC under the
// unwrapped key, for both key sizes, through every entry of wb_core.h.
#include <gtest/gtest.h>

#include <random>

#include "core_driver.h"

namespace {

Bytes random_bytes(std::mt19937& rng, size_t n) {
  Bytes out(n);
  for (uint8_t& b : out) b = static_cast<uint8_t>(rng());
  return out;
}

Bytes from_hex(const char* hex) {
  Bytes out;
  for (; hex[0] && hex[1]; hex += 2)
    out.push_back(static_cast<uint8_t>(std::stoi(std::string(hex, 2), nullptr, 16)));
  return out;
}

Bytes concat(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
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

// FIPS-197 appendix C, one block: with a zero chaining value CBC is the
// bare block cipher, so the key-only setup must give the published output.
TEST(CoreKnownAnswer, Fips197ExampleVectors) {
  struct Case {
    const char* key;
    const char* cipher;
  } cases[] = {
      {"000102030405060708090a0b0c0d0e0f", "69c4e0d86a7b0430d8cdb78070b4c55a"},
      {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
       "8ea2b7ca516745bfeafc49904b496089"},
  };
  const Bytes plain = from_hex("00112233445566778899aabbccddeeff");
  for (const Case& c : cases) {
    const Bytes key = protect_with_build_seed(from_hex(c.key));
    EncryptorCore enc;
    enc.key_setup(key, {});
    EXPECT_EQ(enc.encrypt(to_white(plain)), from_hex(c.cipher)) << c.key;
    DecryptorCore dec;
    dec.key_setup(key, {});
    EXPECT_EQ(from_yellow(dec.decrypt(from_hex(c.cipher))), plain) << c.key;
  }
}

TEST_P(CoreCbcTest, EncryptsAndDecryptsLikeReferenceCbc) {
  for (size_t blocks : {1u, 3u, 64u}) {
    for (bool with_iv : {false, true}) {
      const Bytes iv = with_iv ? iv_ : Bytes();
      const Bytes plain = random_bytes(rng_, 16 * blocks);
      const Bytes expected = reference_cbc_encrypt(raw_key_, iv, plain);
      SCOPED_TRACE(testing::Message() << blocks << " blocks, iv " << with_iv);

      EncryptorCore enc;
      enc.key_setup(key_, iv);
      EXPECT_EQ(enc.encrypt(to_white(plain)), expected);

      DecryptorCore dec;
      dec.key_setup(key_, iv);
      EXPECT_EQ(from_yellow(dec.decrypt(expected)), plain);
    }
  }
}

// The wrappers encrypt the whole blocks in one call and the padded block in
// a second; decryption may be split too. Both must continue one chain, and
// in-place buffers must work.
TEST_P(CoreCbcTest, ContinuesTheChainAcrossCallsAndInPlace) {
  const Bytes plain = random_bytes(rng_, 48);
  const Bytes expected = reference_cbc_encrypt(raw_key_, iv_, plain);
  const Bytes white = to_white(plain);
  const Bytes head(white.begin(), white.begin() + 32);
  const Bytes tail(white.begin() + 32, white.end());

  EncryptorCore enc;
  enc.key_setup(key_, iv_);
  const Bytes first = enc.encrypt(head);
  EXPECT_EQ(concat(first, enc.encrypt(tail, true)), expected);

  DecryptorCore dec;
  dec.key_setup(key_, iv_);
  const Bytes part1 = dec.decrypt(Bytes(expected.begin(), expected.begin() + 16));
  const Bytes part2 = dec.decrypt(Bytes(expected.begin() + 16, expected.end()), true);
  EXPECT_EQ(from_yellow(concat(part1, part2)), plain);
}

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

// Re-encryption: black (key only) -> blue -> black under key and IV equals
// the encryptor's output for the same plaintext under that key and IV.
TEST_P(CoreCbcTest, RecryptsThroughBlue) {
  const Bytes plain = random_bytes(rng_, 80);
  DecryptorCore dec;
  dec.key_setup(key_, {});
  const Bytes blue = dec.decrypt_blue(reference_cbc_encrypt(raw_key_, {}, plain));
  dec.key_setup(key_, iv_);
  EXPECT_EQ(dec.encrypt_blue(blue), reference_cbc_encrypt(raw_key_, iv_, plain));

  // Blue is an encoding of its own: neither the plaintext nor yellow.
  dec.key_setup(key_, {});
  const Bytes yellow = dec.decrypt(reference_cbc_encrypt(raw_key_, {}, plain));
  size_t same_as_plain = 0, same_as_yellow = 0;
  for (size_t i = 0; i < blue.size(); ++i) {
    same_as_plain += blue[i] == plain[i];
    same_as_yellow += blue[i] == yellow[i];
  }
  EXPECT_LT(same_as_plain, blue.size() / 4);
  EXPECT_LT(same_as_yellow, blue.size() / 4);
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
