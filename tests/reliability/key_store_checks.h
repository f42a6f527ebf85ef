// key_store_checks.h: a key store in a directory of the test's own, and the
// checks the in-process reliability tests make after a fault: which version
// each item holds, and which error lines reached the log.
#ifndef ZEL_TESTS_RELIABILITY_KEY_STORE_CHECKS_H
#define ZEL_TESTS_RELIABILITY_KEY_STORE_CHECKS_H

#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "TZelKeyStore.h"
#include "log_capture.h"
#include "sample_keychain.h"

// KeyStoreAt is a key store whose persistent-storage path is |root|; its
// directory, root + "/zel_keystore", is created by the key store itself.
class KeyStoreAt {
 public:
  explicit KeyStoreAt(const std::string& root);

  TZelKeyStore& store() { return *store_; }
  // dir is the key-store directory.
  const std::string& dir() const { return dir_; }

  // StoreSample stores the sample keychain "dev" in |version|; true when
  // StoreKeyChain did.
  bool StoreSample(SampleVersion version);

  // HeldVersions loads a fresh keychain "dev" and tells which version of
  // each sample item it holds (see VersionsIn).
  std::map<std::string, std::string> HeldVersions();

 private:
  std::string dir_;
  std::unique_ptr<TZelKeyStore> store_;
};

// AllItems returns the four sample item ids mapped to |version| ("old" or
// "new"), the expectation that rows then adjust.
std::map<std::string, std::string> AllItems(const std::string& version);

// ErrorLines takes the captured log records and returns the texts of the
// errors (level 2 and more severe); the traces are left out.
std::vector<std::string> ErrorLines();

// ErrorLinesFor returns the key store's error text |format| (with one
// "%s") for each id of the sample keychain.
std::vector<std::string> ErrorLinesFor(const std::string& format);

#endif  // ZEL_TESTS_RELIABILITY_KEY_STORE_CHECKS_H
