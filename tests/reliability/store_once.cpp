// store_once.cpp: a process that stores one sample keychain and exits, for
// the tests that run it under a tracer which makes its system calls fail.
//
//   zel_store_once ROOT NAME old|new
//
// stores the sample keychain NAME in the given version into the key store
// whose persistent-storage path is ROOT. The exit status is 0 when
// StoreKeyChain returned true, 1 when it returned false, 2 on bad usage.
// The key store's error lines go to standard error through the default
// logger.
#include <stdlib.h>

#include <cstdio>
#include <cstring>

#include "TZelKeyStore.h"
#include "sample_keychain.h"

int main(int argc, char** argv) {
  if (argc != 4 || (std::strcmp(argv[3], "old") != 0 && std::strcmp(argv[3], "new") != 0)) {
    std::fprintf(stderr, "usage: %s ROOT NAME old|new\n", argv[0]);
    return 2;
  }
  setenv("HEVO_PERSISTENT_STORAGE", argv[1], 1);
  TZelKeyChain chain(argv[2]);
  FillKeyChain(chain, SampleItems(std::strcmp(argv[3], "new") == 0 ? SampleVersion::kNew
                                                                    : SampleVersion::kOld));
  return TZelKeyStore::GetInstance().StoreKeyChain(chain) ? 0 : 1;
}
