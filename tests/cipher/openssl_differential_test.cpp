// The cipher wrappers against OpenSSL's AES-CBC on pseudo-random keys, IVs
// and payloads, both key sizes. The generator is seeded, so a failure
// reproduces; the trace names the case.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "core_encoding.h"
#include "openssl_cbc.h"
#include "test_keys.h"

namespace {

constexpr uint32_t kSeed = 0x5eed2024;
constexpr int kRandomCases = 24;
// Sizes at block boundaries, beside the random ones.
constexpr unsigned kFixedSizes[] = {16, 17, 31, 32, 33, 4095, 4096};

unsigned Size(const Bytes& bytes) { return static_cast<unsigned>(bytes.size()); }

struct RandomCase {
  int index;
  Bytes key;  // raw AES key
  Bytes iv;
  Bytes plain;
};

// CaseSource draws the cases of one key size. It maps the generator's
// 32-bit outputs by hand rather than through the standard distributions,
// whose results differ between library implementations.
class CaseSource {
 public:
  explicit CaseSource(unsigned key_bytes)
      : key_bytes_(key_bytes), random_(kSeed + key_bytes) {}

  std::vector<RandomCase> All() {
    std::vector<RandomCase> cases;
    for (unsigned size : kFixedSizes) cases.push_back(Make(size, cases.size()));
    for (int i = 0; i < kRandomCases; ++i)
      cases.push_back(Make(16 + random_() % (4096 - 16 + 1), cases.size()));
    return cases;
  }

  // Below returns a value in [0, bound).
  unsigned Below(unsigned bound) { return random_() % bound; }

 private:
  Bytes RandomBytes(size_t size) {
    Bytes bytes(size);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random_());
    return bytes;
  }

  RandomCase Make(unsigned size, size_t index) {
    return {static_cast<int>(index), RandomBytes(key_bytes_), RandomBytes(16),
            RandomBytes(size)};
  }

  unsigned key_bytes_;
  std::mt19937 random_;
};

class OpenSslDifferential : public ::testing::TestWithParam<unsigned> {
 protected:
  static std::string Trace(const RandomCase& c) {
    return "case " + std::to_string(c.index) + ", " +
           std::to_string(c.plain.size()) + " bytes, key " + BytesToHex(c.key);
  }

  unsigned keysize() const { return GetParam(); }
};

TEST_P(OpenSslDifferential, EncryptPayloadWithIv) {
  PKIWB_encrypt encryptor(keysize());
  for (const RandomCase& c : CaseSource(keysize()).All()) {
    SCOPED_TRACE(Trace(c));
    const Bytes expected =
        OpenSslCbcEncrypt(c.key, c.iv, c.plain, Padding::kPkcs7);
    const Bytes key = CoreKeyForm(c.key);
    Bytes out(PKIWB_encrypt::get_padded_payload_size(Size(c.plain)));
    ASSERT_EQ(out.size(), expected.size());
    EXPECT_EQ(encryptor.encrypt_payload(key.data(), c.iv.data(),
                                        c.plain.data(), Size(c.plain),
                                        out.data()),
              Size(expected));
    EXPECT_EQ(out, expected);

    // In place: the payload's own buffer, with room for the padding.
    Bytes in_place = c.plain;
    in_place.resize(expected.size());
    encryptor.encrypt_payload(key.data(), c.iv.data(), in_place.data(),
                              Size(c.plain), in_place.data());
    EXPECT_EQ(in_place, expected);
  }
}

TEST_P(OpenSslDifferential, DecryptPayloadWithIv) {
  PKIWB_decrypt decryptor(keysize());
  for (const RandomCase& c : CaseSource(keysize()).All()) {
    SCOPED_TRACE(Trace(c));
    const Bytes black =
        OpenSslCbcEncrypt(c.key, c.iv, c.plain, Padding::kPkcs7);
    const Bytes key = CoreKeyForm(c.key);
    Bytes out(black.size());
    const unsigned written = decryptor.decrypt_payload(
        key.data(), c.iv.data(), black.data(), Size(black), out.data());
    EXPECT_EQ(written, Size(c.plain));
    out.resize(written);
    EXPECT_EQ(out, c.plain);

    Bytes in_place = black;
    decryptor.decrypt_payload(key.data(), c.iv.data(), in_place.data(),
                              Size(black), in_place.data());
    in_place.resize(c.plain.size());
    EXPECT_EQ(in_place, c.plain);
  }
}

// The key-only setups chain from sixteen zero bytes, in both directions.
TEST_P(OpenSslDifferential, KeyOnlyPayloadsUseAZeroIv) {
  const Bytes zero_iv(16, 0);
  PKIWB_encrypt encryptor(keysize());
  PKIWB_decrypt decryptor(keysize());
  for (const RandomCase& c : CaseSource(keysize()).All()) {
    SCOPED_TRACE(Trace(c));
    const Bytes expected =
        OpenSslCbcEncrypt(c.key, zero_iv, c.plain, Padding::kPkcs7);
    const Bytes key = CoreKeyForm(c.key);
    Bytes black(expected.size());
    encryptor.encrypt_payload(key.data(), c.plain.data(), Size(c.plain),
                              black.data());
    EXPECT_EQ(black, expected);

    Bytes plain(expected.size());
    plain.resize(decryptor.decrypt_payload(key.data(), expected.data(),
                                           Size(expected), plain.data()));
    EXPECT_EQ(plain, c.plain);
  }
}

TEST_P(OpenSslDifferential, RecryptEqualsAFreshEncryptionUnderTheNewIv) {
  PKIWB_encrypt encryptor(keysize());
  PKIWB_decrypt decryptor(keysize());
  for (const RandomCase& c : CaseSource(keysize()).All()) {
    SCOPED_TRACE(Trace(c));
    const Bytes key = CoreKeyForm(c.key);
    Bytes key_only(PKIWB_encrypt::get_padded_payload_size(Size(c.plain)));
    encryptor.encrypt_payload(key.data(), c.plain.data(), Size(c.plain),
                              key_only.data());
    Bytes recrypted(key_only.size());
    decryptor.recrypt_payload(key.data(), c.iv.data(), key_only.data(),
                              Size(key_only), recrypted.data());
    EXPECT_EQ(recrypted,
              OpenSslCbcEncrypt(c.key, c.iv, c.plain, Padding::kPkcs7));
  }
}

// One aes_init, then the payload in several CBC calls of random whole-block
// lengths: the chain runs on across calls, and the padding step continues
// it too. The objects are reused, so each aes_init must restart the chain.
TEST_P(OpenSslDifferential, ChainRunsOnAcrossCalls) {
  CaseSource source(keysize());
  PKIWB_encrypt encryptor(keysize());
  PKIWB_decrypt decryptor(keysize());
  for (const RandomCase& c : source.All()) {
    SCOPED_TRACE(Trace(c));
    const Bytes key = CoreKeyForm(c.key);
    const Bytes white = ToWhite(c.plain);
    const unsigned whole = Size(c.plain) & ~15u;

    // Encrypt: random runs of whole blocks, then the tail with its padding.
    encryptor.aes_init(key.data(), c.iv.data());
    Bytes black(PKIWB_encrypt::get_padded_payload_size(Size(c.plain)));
    unsigned done = 0;
    while (whole - done > 16) {
      const unsigned run = 16 * (1 + source.Below((whole - done) / 16 - 1));
      encryptor.wb_cbc_encrypt(&white[done], &black[done], run);
      done += run;
    }
    encryptor.wb_cbc_encrypt_pkcs7(&white[done], &black[done],
                                   Size(c.plain) - done);
    EXPECT_EQ(black, OpenSslCbcEncrypt(c.key, c.iv, c.plain, Padding::kPkcs7));

    // Decrypt the whole blocks in random runs.
    const Bytes whole_black(black.begin(), black.begin() + whole);
    decryptor.aes_init(key.data(), c.iv.data());
    Bytes yellow(whole);
    for (done = 0; done < whole;) {
      const unsigned run = 16 * (1 + source.Below((whole - done) / 16));
      decryptor.wb_cbc_decrypt(&whole_black[done], &yellow[done], run);
      done += run;
    }
    EXPECT_EQ(FromYellow(yellow), Bytes(c.plain.begin(), c.plain.begin() + whole));
  }
}

std::string KeyBits(const ::testing::TestParamInfo<unsigned>& key_bytes) {
  return "Aes" + std::to_string(key_bytes.param * 8);
}

INSTANTIATE_TEST_SUITE_P(KeySizes, OpenSslDifferential,
                         ::testing::Values(16u, 32u), KeyBits);

}  // namespace
