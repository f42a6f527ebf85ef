// TZelKeyStore.cpp: see TZelKeyStore.h.
#include "TZelKeyStore.h"

#include <set>

#include "HevoFileUtils.h"
#include "HevoTempFiles.h"
#include "THevoDeviceInfo.h"
#include "zelLogging.h"

namespace {
constexpr int kLevelError = 2;
constexpr int kLevelTrace = 6;
constexpr unsigned int kDirectoryMode = 0755;

// IsItemFileName is the one rule for the names of item files (see the
// header): the file name, keychain name followed by item id, must not hold
// a "/" or a NUL byte, nor start with the prefix of the base library's
// temporaries. "." and ".." need no refusal: joined to the name without a
// separator, they cannot leave the directory.
bool IsItemFileName(const std::string& fileName) {
  return fileName.find('/') == std::string::npos &&
         fileName.find('\0') == std::string::npos &&
         !HevoTempFiles::IsTemporaryName(fileName);
}
}  // namespace

const char* TZelKeyStore::ROOT_PATH_DEFAULT = "zel_keystore";

TZelKeyStore& TZelKeyStore::GetInstance() {
  static TZelKeyStore instance;
  return instance;
}

// The secure store is obtained first, so it is built before the key store
// and, being registered for destruction first, outlives it.
TZelKeyStore::TZelKeyStore()
    : secureStore(&TZelSecureStore::GetInstance()), path(ROOT_PATH_DEFAULT) {
  if (!THevoDeviceInfo::GetInstance().GetInfo(
          THevoDeviceInfo::PERSISTENT_STORAGE, path)) {
    zelLogging_log(kLevelError,
                   "[TZelKeyStore] Can't read PERSISTENT_STORAGE device info item.");
    return;
  }
  path += "/";
  path += ROOT_PATH_DEFAULT;
  // A directory that cannot be created shows itself later, as items that
  // fail to store.
  if (!HevoFileUtils::Exists(path))
    HevoFileUtils::CreateDirectoryRecursive(path, kDirectoryMode);
}

TZelKeyStore::~TZelKeyStore() = default;

bool TZelKeyStore::StoreKeyChain(const TZelKeyChain& keyChain) {
  const std::string prefix = path + "/" + keyChain.GetName();
  zelLogging_log(kLevelTrace, "[%s:%d][%s]: [TZelKeyStore] Store keychain '%s'",
                 __FILE__, __LINE__, __func__, prefix.c_str());
  bool result = false;
  for (const auto& item : keyChain.GetContainer()) {
    const bool ok = IsItemFileName(keyChain.GetName() + item.first) &&
                    secureStore->Store(prefix + item.first, item.second);
    // Each item overrides the result: it reports the last item only.
    result = ok;
    if (!ok)
      zelLogging_log(kLevelError,
                     "[TZelKeyStore] Can't encrypt/store keychain data for '%s'.",
                     item.first.c_str());
  }
  return result;
}

bool TZelKeyStore::LoadKeyChain(TZelKeyChain& keyChain) {
  std::set<std::string> files;
  if (HevoFileUtils::GetFiles(path, files)) {
    zelLogging_log(kLevelTrace,
                   "[%s:%d][%s]: [TZelKeyStore] Load keychain with id '%s' from '%s'",
                   __FILE__, __LINE__, __func__, keyChain.GetName().c_str(),
                   path.c_str());
    for (const std::string& file : files) {
      const std::string base = HevoFileUtils::GetFileBaseName(file);
      if (base != keyChain.GetName() || !IsItemFileName(file)) continue;
      THevoBlob blob;
      const std::string filePath = path + "/" + file;
      if (secureStore->Load(filePath, blob)) {
        keyChain.SetItem(file.substr(base.size()), std::move(blob));
      } else {
        zelLogging_log(kLevelError,
                       "[TZelKeyStore] Can't load/decrypt keychain data from '%s'.",
                       filePath.c_str());
      }
    }
  }
  return !keyChain.GetContainer().empty();
}

bool TZelKeyStore::EraseKeyChain(TZelKeyChain& keyChain) {
  const std::string prefix = path + "/" + keyChain.GetName();
  bool result = true;
  for (const auto& item : keyChain.GetContainer()) {
    if (!IsItemFileName(keyChain.GetName() + item.first) ||
        !HevoFileUtils::Remove(prefix + item.first)) {
      zelLogging_log(kLevelError,
                     "[TZelKeyStore] Can't remove keychain data for '%s'.",
                     item.first.c_str());
      result = false;
    }
  }
  // Each item's blob wipes its bytes as it is destroyed.
  keyChain.GetContainer().clear();
  return result;
}
