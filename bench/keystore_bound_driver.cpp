// keystore_bound_driver.cpp: the key-store benchmark's driver for a
// host-bound build of the library (keystore_bench.cpp loads it with
// RTLD_DEEPBIND, beside the unbound library of the same class names).
// Plain C functions, so that nothing of its library's classes crosses.
#include <stdlib.h>

#include "TZelKeyStore.h"
#include "sample_keychain.h"

#define ZEL_DRIVER_API extern "C" __attribute__((visibility("default")))

namespace {

// BoundBench is a key store and the sample keychain it stores, built once
// as the unbound benchmark builds its keychain once.
struct BoundBench {
  explicit BoundBench(const char* name) : chain(name) {
    FillKeyChain(chain, SampleItems(SampleVersion::kOld));
  }
  TZelKeyStore store;
  TZelKeyChain chain;
};

}  // namespace

// zel_bound_bench_open makes a key store under |root| bound to the host
// secret at |secret|, with the sample keychain |name|.
ZEL_DRIVER_API void* zel_bound_bench_open(const char* root, const char* secret, const char* name) {
  setenv("HEVO_PERSISTENT_STORAGE", root, 1);
  setenv("ZEL_HOST_SECRET", secret, 1);
  BoundBench* bench = new BoundBench(name);
  unsetenv("HEVO_PERSISTENT_STORAGE");
  return bench;
}

ZEL_DRIVER_API void zel_bound_bench_close(void* bench) { delete static_cast<BoundBench*>(bench); }

// zel_bound_bench_store stores the sample keychain; 1 on success.
ZEL_DRIVER_API int zel_bound_bench_store(void* bench) {
  BoundBench* b = static_cast<BoundBench*>(bench);
  return b->store.StoreKeyChain(b->chain) ? 1 : 0;
}

// zel_bound_bench_load loads the sample keychain's name into a new keychain
// and returns its number of items.
ZEL_DRIVER_API int zel_bound_bench_load(void* bench) {
  BoundBench* b = static_cast<BoundBench*>(bench);
  TZelKeyChain chain(b->chain.GetName());
  b->store.LoadKeyChain(chain);
  return static_cast<int>(chain.GetContainer().size());
}
