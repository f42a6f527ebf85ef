// The binding's primitives through the loaded libcrypto: HKDF-SHA256 and
// AES-256-GCM against published vectors, which also pin how the wrappers
// pass salt, info, nonce, associated data and tag; and the loader's
// refusals.
#include <gtest/gtest.h>

#include <type_traits>

#include "aead.h"
#include "binding_test_util.h"

#ifdef ZEL_HAVE_OPENSSL_HEADERS
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/rand.h>

// The hand-written prototypes of libcrypto.h against OpenSSL's own.
#define ZEL_SAME_TYPE(function) \
  static_assert(std::is_same<decltype(&::function), decltype(zel_binding::Libcrypto::function)>::value, #function)
ZEL_SAME_TYPE(EVP_CIPHER_CTX_new);
ZEL_SAME_TYPE(EVP_CIPHER_CTX_free);
ZEL_SAME_TYPE(EVP_CIPHER_CTX_ctrl);
ZEL_SAME_TYPE(EVP_aes_256_gcm);
ZEL_SAME_TYPE(EVP_EncryptInit_ex);
ZEL_SAME_TYPE(EVP_EncryptUpdate);
ZEL_SAME_TYPE(EVP_EncryptFinal_ex);
ZEL_SAME_TYPE(EVP_DecryptInit_ex);
ZEL_SAME_TYPE(EVP_DecryptUpdate);
ZEL_SAME_TYPE(EVP_DecryptFinal_ex);
ZEL_SAME_TYPE(EVP_sha256);
ZEL_SAME_TYPE(EVP_PKEY_CTX_new_id);
ZEL_SAME_TYPE(EVP_PKEY_CTX_free);
ZEL_SAME_TYPE(EVP_PKEY_derive_init);
ZEL_SAME_TYPE(EVP_PKEY_derive);
ZEL_SAME_TYPE(EVP_PKEY_CTX_set_hkdf_md);
ZEL_SAME_TYPE(EVP_PKEY_CTX_set1_hkdf_salt);
ZEL_SAME_TYPE(EVP_PKEY_CTX_set1_hkdf_key);
ZEL_SAME_TYPE(EVP_PKEY_CTX_add1_hkdf_info);
ZEL_SAME_TYPE(RAND_bytes);
static_assert(zel_binding::kNidHkdf == EVP_PKEY_HKDF, "NID_hkdf");
static_assert(zel_binding::kCtrlAeadGetTag == EVP_CTRL_AEAD_GET_TAG, "get tag");
static_assert(zel_binding::kCtrlAeadSetTag == EVP_CTRL_AEAD_SET_TAG, "set tag");
#endif

namespace {

using zel_binding::Span;

Span Of(const Bytes& bytes) { return Span{bytes.data(), bytes.size()}; }

// RFC 5869, appendix A.1 (test case 1, SHA-256).
TEST(BindingPrimitives, HkdfSha256MatchesRfc5869) {
  const Bytes ikm(22, 0x0b), salt = Hex("000102030405060708090a0b0c"),
              info = Hex("f0f1f2f3f4f5f6f7f8f9");
  Bytes okm(42);
  ASSERT_TRUE(zel_binding::HkdfSha256(Crypto(), Of(ikm), Of(salt), Of(info), okm.data(), okm.size()));
  EXPECT_EQ(okm, Hex("3cb25f25faacd57a90434f64d0362f2a2d2d0a90cf1a5a4c5db02d56ecc4c5bf34007208d5b887185865"));
}

// Test case 16 of McGrew and Viega, "The Galois/Counter Mode of Operation
// (GCM)" (2005): AES-256, 96-bit IV, 60-byte plaintext, 20 bytes of
// associated data.
TEST(BindingPrimitives, AesGcmMatchesTestCase16AndRefusesAnyChange) {
  const Bytes key = Hex("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308");
  const Bytes nonce = Hex("cafebabefacedbaddecaf888");
  const Bytes aad = Hex("feedfacedeadbeeffeedfacedeadbeefabaddad2");
  const Bytes plain = Hex(
      "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a721c3c0c95956809532fcf0e24"
      "49a6b525b16aedf5aa0de657ba637b39");
  const Bytes sealed = Hex(
      "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa8cb08e48590dbb3da7b08b10"
      "56828838c5f61e6393ba7a0abcc9f662" "76fc6ece0f4e1768cddf8853bb2d551b");
  Bytes out(sealed.size());
  ASSERT_TRUE(zel_binding::AesGcmSeal(Crypto(), key.data(), nonce.data(), Of(aad), Of(plain), out.data()));
  EXPECT_EQ(out, sealed);
  Bytes opened(plain.size());
  ASSERT_TRUE(zel_binding::AesGcmOpen(Crypto(), key.data(), nonce.data(), Of(aad), Of(sealed), opened.data()));
  EXPECT_EQ(opened, plain);
  // One changed bit anywhere, in the sealed bytes or in the associated data.
  for (size_t bit = 0; bit < (sealed.size() + aad.size()) * 8; bit += 7) {
    Bytes changed_sealed = sealed, changed_aad = aad;
    const size_t byte = bit / 8;
    (byte < sealed.size() ? changed_sealed[byte] : changed_aad[byte - sealed.size()]) ^= 1 << (bit % 8);
    EXPECT_FALSE(zel_binding::AesGcmOpen(Crypto(), key.data(), nonce.data(), Of(changed_aad),
                                         Of(changed_sealed), opened.data())) << "bit " << bit;
  }
}

TEST(BindingPrimitives, LoaderRefusesAMissingLibraryAndAForeignOne) {
  zel_binding::Libcrypto table;
  std::string error;
  EXPECT_FALSE(zel_binding::LoadLibcryptoFrom("libzel-no-such-crypto.so.3", table, error));
  EXPECT_EQ(error.find("libzel-no-such-crypto.so.3 cannot be loaded: "), 0u) << error;
  EXPECT_FALSE(zel_binding::LoadLibcryptoFrom("libc.so.6", table, error));
  EXPECT_EQ(error, "libc.so.6 is not OpenSSL 3's libcrypto: its function EVP_CIPHER_CTX_new is missing");
}

}  // namespace
