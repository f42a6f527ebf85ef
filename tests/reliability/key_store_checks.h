// key_store_checks.h: a key store in a directory of the test's own, and the
// checks every reliability test makes after a fault: each item holds its
// old or its new bytes, no temporary is listed or loaded, and failures
// reached the caller as log lines.
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

  // StoreSample stores the sample keychain |name| in |version|; true when
  // StoreKeyChain did.
  bool StoreSample(const std::string& name, SampleVersion version);

  // HeldVersions loads a fresh keychain |name| and tells, per item id, which
  // sample version it holds: "old", "new", or "other" for bytes of neither
  // (a torn or mixed item). Ids of the sample that did not load are
  // "missing".
  std::map<std::string, std::string> HeldVersions(const std::string& name);

  // Temporaries returns the names in the directory that are temporaries of
  // the blob store, whether or not a listing would show them.
  std::set<std::string> Temporaries() const;

  // Listed returns the directory as the key store's listing sees it.
  std::set<std::string> Listed() const;

 private:
  std::string dir_;
  std::unique_ptr<TZelKeyStore> store_;
};

// AllItems returns the four sample item ids mapped to |version| ("old" or
// "new"), the expectation that rows then adjust.
std::map<std::string, std::string> AllItems(const std::string& version);

// SampleFileNames returns the file names of the sample keychain |name|.
std::set<std::string> SampleFileNames(const std::string& name);

// StoreErrorLine and RemoveErrorLine are the key store's error records for
// the item |id|.
LogRecord StoreErrorLine(const std::string& id);
LogRecord RemoveErrorLine(const std::string& id);

// PrintTo shows a record in test failures as its level and text.
void PrintTo(const LogRecord& record, std::ostream* out);

// ErrorRecords takes the captured log records and keeps the errors (level 2
// and more severe); the traces are left out.
std::vector<LogRecord> ErrorRecords();

#endif  // ZEL_TESTS_RELIABILITY_KEY_STORE_CHECKS_H
