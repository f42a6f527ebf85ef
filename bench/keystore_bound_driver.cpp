// keystore_bound_driver.cpp: the key-store benchmark's driver for a
// host-bound build of the library (keystore_bench.cpp loads it with
// RTLD_DEEPBIND, beside the unbound library of the same class names).
// Plain C functions, so that nothing of its library's classes crosses.
#include <stdlib.h>

#include "TZelKeyStore.h"
#include "sample_keychain.h"

#define ZEL_DRIVER_API extern "C" __attribute__((visibility("default")))

// zel_bound_bench_open makes a key store under |root| bound to the host
// secret at |secret|.
ZEL_DRIVER_API void* zel_bound_bench_open(const char* root, const char* secret) {
  setenv("HEVO_PERSISTENT_STORAGE", root, 1);
  setenv("ZEL_HOST_SECRET", secret, 1);
  TZelKeyStore* store = new TZelKeyStore;
  unsetenv("HEVO_PERSISTENT_STORAGE");
  return store;
}

ZEL_DRIVER_API void zel_bound_bench_close(void* store) { delete static_cast<TZelKeyStore*>(store); }

// zel_bound_bench_store stores the sample keychain |name|; 1 on success.
ZEL_DRIVER_API int zel_bound_bench_store(void* store, const char* name) {
  TZelKeyChain chain(name);
  FillKeyChain(chain, SampleItems(SampleVersion::kOld));
  return static_cast<TZelKeyStore*>(store)->StoreKeyChain(chain) ? 1 : 0;
}

// zel_bound_bench_load loads the keychain |name| and returns its number of
// items.
ZEL_DRIVER_API int zel_bound_bench_load(void* store, const char* name) {
  TZelKeyChain chain(name);
  static_cast<TZelKeyStore*>(store)->LoadKeyChain(chain);
  return static_cast<int>(chain.GetContainer().size());
}
