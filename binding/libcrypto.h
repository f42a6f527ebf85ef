// libcrypto.h: the few functions of OpenSSL's libcrypto 3 that a bound
// store uses (AES-256-GCM, HKDF-SHA256, the random generator), loaded at
// run time with dlopen.
//
// Why at run time: a bound library then links nothing beyond the default
// build's libraries, so the same binary gives a clean refusal on a device
// without libcrypto, and the 32-bit build needs no 32-bit OpenSSL
// development package to link (only the run-time library, to run).
//
// The prototypes are declared here, by the struct tags and signatures of
// OpenSSL 3.0's public API, so that no OpenSSL header is needed to build;
// tests/binding checks them against the headers where those are installed.
#ifndef ZEL_BINDING_LIBCRYPTO_H
#define ZEL_BINDING_LIBCRYPTO_H

#include <cstddef>
#include <string>

// OpenSSL's opaque types, by their own struct tags: the declarations match
// the library's, so a file may include OpenSSL's headers as well.
struct evp_cipher_ctx_st;
struct evp_cipher_st;
struct evp_md_st;
struct evp_pkey_ctx_st;
struct engine_st;

namespace zel_binding {

// Libcrypto is the table of loaded functions; each member has the type of
// the OpenSSL function it is named after.
struct Libcrypto {
  evp_cipher_ctx_st* (*EVP_CIPHER_CTX_new)();
  void (*EVP_CIPHER_CTX_free)(evp_cipher_ctx_st*);
  int (*EVP_CIPHER_CTX_ctrl)(evp_cipher_ctx_st*, int, int, void*);
  const evp_cipher_st* (*EVP_aes_256_gcm)();
  int (*EVP_EncryptInit_ex)(evp_cipher_ctx_st*, const evp_cipher_st*, engine_st*,
                            const unsigned char*, const unsigned char*);
  int (*EVP_EncryptUpdate)(evp_cipher_ctx_st*, unsigned char*, int*, const unsigned char*, int);
  int (*EVP_EncryptFinal_ex)(evp_cipher_ctx_st*, unsigned char*, int*);
  int (*EVP_DecryptInit_ex)(evp_cipher_ctx_st*, const evp_cipher_st*, engine_st*,
                            const unsigned char*, const unsigned char*);
  int (*EVP_DecryptUpdate)(evp_cipher_ctx_st*, unsigned char*, int*, const unsigned char*, int);
  int (*EVP_DecryptFinal_ex)(evp_cipher_ctx_st*, unsigned char*, int*);
  const evp_md_st* (*EVP_sha256)();
  evp_pkey_ctx_st* (*EVP_PKEY_CTX_new_id)(int, engine_st*);
  void (*EVP_PKEY_CTX_free)(evp_pkey_ctx_st*);
  int (*EVP_PKEY_derive_init)(evp_pkey_ctx_st*);
  int (*EVP_PKEY_derive)(evp_pkey_ctx_st*, unsigned char*, size_t*);
  int (*EVP_PKEY_CTX_set_hkdf_md)(evp_pkey_ctx_st*, const evp_md_st*);
  int (*EVP_PKEY_CTX_set1_hkdf_salt)(evp_pkey_ctx_st*, const unsigned char*, int);
  int (*EVP_PKEY_CTX_set1_hkdf_key)(evp_pkey_ctx_st*, const unsigned char*, int);
  int (*EVP_PKEY_CTX_add1_hkdf_info)(evp_pkey_ctx_st*, const unsigned char*, int);
  int (*RAND_bytes)(unsigned char*, int);
};

// OpenSSL's constants that the callers pass (values of OpenSSL 3.0).
constexpr int kNidHkdf = 1036;           // NID_hkdf, EVP_PKEY_HKDF
constexpr int kCtrlAeadGetTag = 0x10;    // EVP_CTRL_AEAD_GET_TAG
constexpr int kCtrlAeadSetTag = 0x11;    // EVP_CTRL_AEAD_SET_TAG

// kLibcryptoName is the library loaded: the soname of OpenSSL 3.
constexpr const char kLibcryptoName[] = "libcrypto.so.3";

// LoadLibcrypto returns the process's table, loading the library and all
// its functions on the first successful call; nullptr, with |error| set to
// one line, when the library or one of its functions cannot be found (the
// next call tries again). The library stays loaded until the process ends.
// Thread-safe.
const Libcrypto* LoadLibcrypto(std::string& error);

// LoadLibcryptoFrom loads the library |name| into |table|, without the
// process's cache; false with |error| set when it or a function is
// missing. For tests of the refusal.
bool LoadLibcryptoFrom(const char* name, Libcrypto& table, std::string& error);

}  // namespace zel_binding

#endif  // ZEL_BINDING_LIBCRYPTO_H
