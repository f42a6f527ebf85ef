// libcrypto.cpp: see libcrypto.h.
#include "libcrypto.h"

#include <dlfcn.h>

#include <mutex>

namespace zel_binding {
namespace {

// Bind looks |name| up in |handle| and stores it in |slot|; on failure it
// says which function is missing.
template <typename Function>
bool Bind(void* handle, const char* name, Function& slot, std::string& error) {
  void* symbol = dlsym(handle, name);
  if (symbol == nullptr) {
    error = std::string("its function ") + name + " is missing";
    return false;
  }
  slot = reinterpret_cast<Function>(symbol);
  return true;
}

}  // namespace

bool LoadLibcryptoFrom(const char* name, Libcrypto& t, std::string& error) {
  // RTLD_NODELETE: the functions stay valid for the process even if a
  // handle were closed; RTLD_LOCAL keeps its names out of the global scope.
  void* handle = dlopen(name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (handle == nullptr) {
    const char* why = dlerror();
    error = std::string(name) + " cannot be loaded: " + (why ? why : "unknown error");
    return false;
  }
  std::string missing;
#define ZEL_BIND(function) Bind(handle, #function, t.function, missing)
  const bool ok =
      ZEL_BIND(EVP_CIPHER_CTX_new) && ZEL_BIND(EVP_CIPHER_CTX_free) &&
      ZEL_BIND(EVP_CIPHER_CTX_ctrl) && ZEL_BIND(EVP_aes_256_gcm) &&
      ZEL_BIND(EVP_EncryptInit_ex) && ZEL_BIND(EVP_EncryptUpdate) &&
      ZEL_BIND(EVP_EncryptFinal_ex) && ZEL_BIND(EVP_DecryptInit_ex) &&
      ZEL_BIND(EVP_DecryptUpdate) && ZEL_BIND(EVP_DecryptFinal_ex) &&
      ZEL_BIND(EVP_sha256) && ZEL_BIND(EVP_PKEY_CTX_new_id) &&
      ZEL_BIND(EVP_PKEY_CTX_free) && ZEL_BIND(EVP_PKEY_derive_init) &&
      ZEL_BIND(EVP_PKEY_derive) && ZEL_BIND(EVP_PKEY_CTX_set_hkdf_md) &&
      ZEL_BIND(EVP_PKEY_CTX_set1_hkdf_salt) && ZEL_BIND(EVP_PKEY_CTX_set1_hkdf_key) &&
      ZEL_BIND(EVP_PKEY_CTX_add1_hkdf_info) && ZEL_BIND(RAND_bytes);
#undef ZEL_BIND
  if (!ok) {
    error = std::string(name) + " is not OpenSSL 3's libcrypto: " + missing;
    dlclose(handle);
    return false;
  }
  return true;
}

const Libcrypto* LoadLibcrypto(std::string& error) {
  static std::mutex lock;
  static Libcrypto table;
  static bool loaded = false;
  const std::lock_guard<std::mutex> guard(lock);
  if (!loaded) loaded = LoadLibcryptoFrom(kLibcryptoName, table, error);
  return loaded ? &table : nullptr;
}

}  // namespace zel_binding
