// aead.cpp: see aead.h.
#include "aead.h"

#include <climits>
#include <memory>

namespace zel_binding {
namespace {

bool FitsInt(size_t size) { return size <= static_cast<size_t>(INT_MAX); }

// Context owns a cipher context; the function that frees it comes from the
// same table.
class Context {
 public:
  explicit Context(const Libcrypto& crypto) : crypto_(crypto), ctx_(crypto.EVP_CIPHER_CTX_new()) {}
  ~Context() {
    if (ctx_ != nullptr) crypto_.EVP_CIPHER_CTX_free(ctx_);  // cleanses the key schedule
  }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  evp_cipher_ctx_st* get() const { return ctx_; }

 private:
  const Libcrypto& crypto_;
  evp_cipher_ctx_st* ctx_;
};

}  // namespace

bool HkdfSha256(const Libcrypto& c, Span ikm, Span salt, Span info, uint8_t* out,
                size_t out_size) {
  if (!FitsInt(ikm.size) || !FitsInt(salt.size) || !FitsInt(info.size)) return false;
  const std::unique_ptr<evp_pkey_ctx_st, void (*)(evp_pkey_ctx_st*)> ctx(
      c.EVP_PKEY_CTX_new_id(kNidHkdf, nullptr), c.EVP_PKEY_CTX_free);
  size_t written = out_size;
  return ctx && c.EVP_PKEY_derive_init(ctx.get()) == 1 &&
         c.EVP_PKEY_CTX_set_hkdf_md(ctx.get(), c.EVP_sha256()) == 1 &&
         c.EVP_PKEY_CTX_set1_hkdf_salt(ctx.get(), salt.data, static_cast<int>(salt.size)) == 1 &&
         c.EVP_PKEY_CTX_set1_hkdf_key(ctx.get(), ikm.data, static_cast<int>(ikm.size)) == 1 &&
         c.EVP_PKEY_CTX_add1_hkdf_info(ctx.get(), info.data, static_cast<int>(info.size)) == 1 &&
         c.EVP_PKEY_derive(ctx.get(), out, &written) == 1 && written == out_size;
}

bool AesGcmSeal(const Libcrypto& c, const uint8_t* key, const uint8_t* nonce, Span aad,
                Span plain, uint8_t* out) {
  if (!FitsInt(aad.size) || !FitsInt(plain.size)) return false;
  const Context ctx(c);
  int n = 0, last = 0;
  return ctx.get() != nullptr &&
         c.EVP_EncryptInit_ex(ctx.get(), c.EVP_aes_256_gcm(), nullptr, key, nonce) == 1 &&
         c.EVP_EncryptUpdate(ctx.get(), nullptr, &n, aad.data, static_cast<int>(aad.size)) == 1 &&
         c.EVP_EncryptUpdate(ctx.get(), out, &n, plain.data, static_cast<int>(plain.size)) == 1 &&
         static_cast<size_t>(n) == plain.size &&
         c.EVP_EncryptFinal_ex(ctx.get(), out + n, &last) == 1 && last == 0 &&
         c.EVP_CIPHER_CTX_ctrl(ctx.get(), kCtrlAeadGetTag, static_cast<int>(kAeadTagSize),
                               out + plain.size) == 1;
}

bool AesGcmOpen(const Libcrypto& c, const uint8_t* key, const uint8_t* nonce, Span aad,
                Span sealed, uint8_t* out) {
  if (sealed.size < kAeadTagSize || !FitsInt(aad.size) || !FitsInt(sealed.size)) return false;
  const size_t size = sealed.size - kAeadTagSize;
  // The tag is copied: OpenSSL's control call takes a non-const pointer.
  uint8_t tag[kAeadTagSize];
  for (size_t i = 0; i < kAeadTagSize; ++i) tag[i] = sealed.data[size + i];
  const Context ctx(c);
  int n = 0, last = 0;
  return ctx.get() != nullptr &&
         c.EVP_DecryptInit_ex(ctx.get(), c.EVP_aes_256_gcm(), nullptr, key, nonce) == 1 &&
         c.EVP_DecryptUpdate(ctx.get(), nullptr, &n, aad.data, static_cast<int>(aad.size)) == 1 &&
         c.EVP_DecryptUpdate(ctx.get(), out, &n, sealed.data, static_cast<int>(size)) == 1 &&
         static_cast<size_t>(n) == size &&
         c.EVP_CIPHER_CTX_ctrl(ctx.get(), kCtrlAeadSetTag, static_cast<int>(kAeadTagSize), tag) == 1 &&
         c.EVP_DecryptFinal_ex(ctx.get(), out + n, &last) == 1 && last == 0;
}

bool RandomBytes(const Libcrypto& c, uint8_t* out, size_t size) {
  return FitsInt(size) && c.RAND_bytes(out, static_cast<int>(size)) == 1;
}

}  // namespace zel_binding
