// key_store_checks.cpp: see key_store_checks.h.
#include "key_store_checks.h"

#include <stdlib.h>

#include "HevoFileUtils.h"
#include "temp_dir.h"

namespace {
const char kTemporaryPrefix[] = ".hevo-tmp-";
}  // namespace

KeyStoreAt::KeyStoreAt(const std::string& root) : dir_(root + "/zel_keystore") {
  // The key store reads the persistent-storage path once, when it is built.
  setenv("HEVO_PERSISTENT_STORAGE", root.c_str(), 1);
  store_.reset(new TZelKeyStore);
  unsetenv("HEVO_PERSISTENT_STORAGE");
}

bool KeyStoreAt::StoreSample(const std::string& name, SampleVersion version) {
  TZelKeyChain chain(name);
  FillKeyChain(chain, SampleItems(version));
  return store_->StoreKeyChain(chain);
}

std::map<std::string, std::string> KeyStoreAt::HeldVersions(const std::string& name) {
  const ItemBytes old_items = SampleItems(SampleVersion::kOld);
  const ItemBytes new_items = SampleItems(SampleVersion::kNew);
  TZelKeyChain chain(name);
  store_->LoadKeyChain(chain);
  std::map<std::string, std::string> held;
  for (const auto& item : old_items) held[item.first] = "missing";
  for (const auto& item : ItemsOf(chain)) {
    const auto old_item = old_items.find(item.first);
    const auto new_item = new_items.find(item.first);
    if (old_item != old_items.end() && item.second == old_item->second)
      held[item.first] = "old";
    else if (new_item != new_items.end() && item.second == new_item->second)
      held[item.first] = "new";
    else
      held[item.first] = "other";
  }
  return held;
}

std::set<std::string> KeyStoreAt::Temporaries() const {
  std::set<std::string> temporaries;
  for (const std::string& name : ListDir(dir_))
    if (name.compare(0, sizeof kTemporaryPrefix - 1, kTemporaryPrefix) == 0)
      temporaries.insert(name);
  return temporaries;
}

std::set<std::string> KeyStoreAt::Listed() const {
  std::set<std::string> names;
  HevoFileUtils::GetFiles(dir_, names);
  return names;
}

std::map<std::string, std::string> AllItems(const std::string& version) {
  std::map<std::string, std::string> all;
  for (const auto& item : SampleItems(SampleVersion::kOld)) all[item.first] = version;
  return all;
}

std::set<std::string> SampleFileNames(const std::string& name) {
  std::set<std::string> names;
  for (const auto& item : SampleItems(SampleVersion::kOld)) names.insert(name + item.first);
  return names;
}

LogRecord StoreErrorLine(const std::string& id) {
  return {2, "[TZelKeyStore] Can't encrypt/store keychain data for '%s'.",
          "[TZelKeyStore] Can't encrypt/store keychain data for '" + id + "'."};
}

LogRecord RemoveErrorLine(const std::string& id) {
  return {2, "[TZelKeyStore] Can't remove keychain data for '%s'.",
          "[TZelKeyStore] Can't remove keychain data for '" + id + "'."};
}

void PrintTo(const LogRecord& record, std::ostream* out) {
  *out << "{" << record.level << ", \"" << record.text << "\"}";
}

std::vector<LogRecord> ErrorRecords() {
  std::vector<LogRecord> errors;
  for (const LogRecord& record : TakeLogRecords())
    if (record.level <= 2) errors.push_back(record);
  return errors;
}
