// Project Wycheproof AES-CBC-PKCS5 vectors through encrypt_payload and
// decrypt_payload (key and IV overloads), and recrypt_payload.
//
// Decryption checks only the last pad byte. So an invalid case is not simply
// "refused": its outcome is worked out from that rule, with the reference
// block cipher as oracle (see LenientOutcome).
#include <gtest/gtest.h>

#include <string>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "reference_cbc.h"
#include "test_keys.h"
#include "thrown_message.h"
#include "wycheproof_cases.h"

namespace {

// What a decrypt_payload call gives: the thrown message, or the plaintext.
struct Outcome {
  std::string thrown = kNoThrow;
  std::string plaintext_hex;
};

bool operator==(const Outcome& a, const Outcome& b) {
  return a.thrown == b.thrown && a.plaintext_hex == b.plaintext_hex;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << "{thrown: " << outcome.thrown
             << ", plaintext: " << outcome.plaintext_hex << "}";
}

unsigned Size(const Bytes& bytes) { return static_cast<unsigned>(bytes.size()); }

const WycheproofFile& Vectors() {
  static const WycheproofFile file = ReadWycheproofFile(
      std::string(ZEL_TEST_VECTORS_DIR) + "/wycheproof/aes_cbc_pkcs5_test.json");
  return file;
}

std::string Trace(const WycheproofCase& c) {
  return "tcId " + std::to_string(c.tc_id) + " (AES-" +
         std::to_string(c.key_bits) + ", " + c.comment + ")";
}

// The 192-bit group is kept apart: the wrappers support 16- and 32-byte
// keys only.
bool Supported(const WycheproofCase& c) { return c.key_bits != 192; }

// LenientOutcome is what decrypt_payload must give for |c|: the size checks
// first, then the verdict on the last plaintext byte alone.
Outcome LenientOutcome(const WycheproofCase& c) {
  Outcome expected;
  if (c.ct.empty()) {
    expected.thrown = "ASSERTION FAILED: in_size != 0";
  } else if (c.ct.size() % 16 != 0) {
    expected.thrown = "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0";
  } else {
    const Bytes plain = ReferenceCbcDecrypt(c.key, c.iv, c.ct);
    const uint8_t pad = plain.back();
    if (pad == 0) {
      expected.thrown = "ASSERTION FAILED: (size_t)c > 0";
    } else if (pad > 16) {
      expected.thrown = "ASSERTION FAILED: (size_t)c <= AES_BLOCK_SIZE";
    } else {
      expected.plaintext_hex =
          BytesToHex(Bytes(plain.begin(), plain.end() - pad));
    }
  }
  return expected;
}

Outcome Decrypt(const WycheproofCase& c) {
  PKIWB_decrypt decryptor(Size(c.key));
  Bytes out(c.ct.size());
  unsigned written = 0;
  Outcome actual;
  actual.thrown = ThrownMessage([&] {
    written = decryptor.decrypt_payload(CoreKeyForm(c.key).data(), c.iv.data(),
                                        c.ct.data(), Size(c.ct), out.data());
  });
  if (actual.thrown == kNoThrow)
    actual.plaintext_hex = BytesToHex(Bytes(out.begin(), out.begin() + written));
  return actual;
}

TEST(WycheproofCbcPkcs5, FileReadsCompletely) {
  EXPECT_EQ(Vectors().cases.size(),
            static_cast<size_t>(Vectors().number_of_tests));
}

// Messages of 16 bytes or more encrypt to the stated ciphertext. Shorter
// ones are refused by design (the whole-block step runs first and refuses
// an empty run), with the message of the check that fires first.
TEST(WycheproofCbcPkcs5, ValidCasesEncryptToTheStatedCiphertext) {
  for (const WycheproofCase& c : Vectors().cases) {
    if (!c.valid || !Supported(c)) continue;
    SCOPED_TRACE(Trace(c));
    PKIWB_encrypt encryptor(Size(c.key));
    Bytes out(PKIWB_encrypt::get_padded_payload_size(Size(c.msg)));
    unsigned written = 0;
    const std::string thrown = ThrownMessage([&] {
      written = encryptor.encrypt_payload(CoreKeyForm(c.key).data(),
                                          c.iv.data(), c.msg.data(),
                                          Size(c.msg), out.data());
    });
    if (c.msg.empty()) {
      EXPECT_EQ(thrown, "ASSERTION FAILED: payload_size > 0");
    } else if (c.msg.size() < 16) {
      EXPECT_EQ(thrown, "ASSERTION FAILED: in_size != 0");
    } else {
      ASSERT_EQ(thrown, kNoThrow);
      EXPECT_EQ(written, c.ct.size());
      EXPECT_EQ(BytesToHex(out), BytesToHex(c.ct));
    }
  }
}

// A key-only ciphertext re-encrypted under the case's IV is the case's
// ciphertext, whatever initial value the key-only setup uses.
TEST(WycheproofCbcPkcs5, RecryptUnderTheCaseIvGivesTheStatedCiphertext) {
  for (const WycheproofCase& c : Vectors().cases) {
    if (!c.valid || !Supported(c) || c.msg.size() < 16) continue;
    SCOPED_TRACE(Trace(c));
    const Bytes key = CoreKeyForm(c.key);
    Bytes key_only(c.ct.size());
    PKIWB_encrypt(Size(c.key)).encrypt_payload(key.data(), c.msg.data(),
                                               Size(c.msg), key_only.data());
    Bytes recrypted(c.ct.size());
    PKIWB_decrypt(Size(c.key))
        .recrypt_payload(key.data(), c.iv.data(), key_only.data(),
                         Size(key_only), recrypted.data());
    EXPECT_EQ(BytesToHex(recrypted), BytesToHex(c.ct));
  }
}

TEST(WycheproofCbcPkcs5, ValidCasesDecryptToTheMessage) {
  for (const WycheproofCase& c : Vectors().cases) {
    if (!c.valid || !Supported(c)) continue;
    SCOPED_TRACE(Trace(c));
    Outcome expected;
    expected.plaintext_hex = BytesToHex(c.msg);
    EXPECT_EQ(Decrypt(c), expected);
  }
}

// Bad padding is refused only when the last byte is outside 1..16; all
// three verdicts must occur in the file, or the oracle is not doing its job.
TEST(WycheproofCbcPkcs5, InvalidCasesGetTheLenientVerdict) {
  size_t refused_zero = 0, refused_large = 0, accepted = 0;
  for (const WycheproofCase& c : Vectors().cases) {
    if (c.valid || !Supported(c)) continue;
    SCOPED_TRACE(Trace(c));
    const Outcome expected = LenientOutcome(c);
    EXPECT_EQ(Decrypt(c), expected);
    if (expected.thrown == "ASSERTION FAILED: (size_t)c > 0") ++refused_zero;
    if (expected.thrown == "ASSERTION FAILED: (size_t)c <= AES_BLOCK_SIZE")
      ++refused_large;
    if (expected.thrown == kNoThrow) ++accepted;
  }
  EXPECT_GT(refused_zero, 0u);
  EXPECT_GT(refused_large, 0u);
  EXPECT_GT(accepted, 0u);
}

// A 24-byte key size is accepted by the constructors and refused at key
// setup, which encrypt_payload reaches only for a non-empty payload and
// decrypt_payload reaches before any size check.
TEST(WycheproofCbcPkcs5, The192BitGroupIsRefused) {
  const std::string kInvalidKeysize = "ASSERTION FAILED: 0 && \"Invalid keysize\"";
  size_t seen = 0;
  for (const WycheproofCase& c : Vectors().cases) {
    if (Supported(c)) continue;
    SCOPED_TRACE(Trace(c));
    ++seen;
    Bytes out(c.ct.size() + c.msg.size() + 16);
    // The raw key: a 24-byte key has no core form, and is never read.
    PKIWB_encrypt encryptor(24);
    EXPECT_EQ(ThrownMessage([&] {
                encryptor.encrypt_payload(c.key.data(), c.iv.data(),
                                          c.msg.data(), Size(c.msg),
                                          out.data());
              }),
              c.msg.empty() ? "ASSERTION FAILED: payload_size > 0"
                            : kInvalidKeysize);
    PKIWB_decrypt decryptor(24);
    EXPECT_EQ(ThrownMessage([&] {
                decryptor.decrypt_payload(c.key.data(), c.iv.data(),
                                          c.ct.data(), Size(c.ct), out.data());
              }),
              kInvalidKeysize);
  }
  EXPECT_GT(seen, 0u);
}

}  // namespace
