// key_store_checks.cpp: see key_store_checks.h.
#include "key_store_checks.h"

#include <stdlib.h>

KeyStoreAt::KeyStoreAt(const std::string& root) : dir_(root + "/zel_keystore") {
  // The key store reads the persistent-storage path once, when it is built.
  setenv("HEVO_PERSISTENT_STORAGE", root.c_str(), 1);
  store_.reset(new TZelKeyStore);
  unsetenv("HEVO_PERSISTENT_STORAGE");
}

bool KeyStoreAt::StoreSample(SampleVersion version) {
  TZelKeyChain chain("dev");
  FillKeyChain(chain, SampleItems(version));
  return store_->StoreKeyChain(chain);
}

std::map<std::string, std::string> KeyStoreAt::HeldVersions() {
  TZelKeyChain chain("dev");
  store_->LoadKeyChain(chain);
  return VersionsIn(ItemsOf(chain));
}

std::map<std::string, std::string> AllItems(const std::string& version) {
  std::map<std::string, std::string> all;
  for (const auto& item : SampleItems(SampleVersion::kOld)) all[item.first] = version;
  return all;
}

std::vector<std::string> ErrorLines() {
  std::vector<std::string> errors;
  for (const LogRecord& record : TakeLogRecords())
    if (record.level <= 2) errors.push_back(record.text);
  return errors;
}

std::vector<std::string> ErrorLinesFor(const std::string& format) {
  std::vector<std::string> lines;
  const std::string::size_type at = format.find("%s");
  for (const auto& item : SampleItems(SampleVersion::kOld))
    lines.push_back(format.substr(0, at) + item.first + format.substr(at + 2));
  return lines;
}
