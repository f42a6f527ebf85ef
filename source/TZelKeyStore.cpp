// TZelKeyStore.cpp: see TZelKeyStore.h.
#include "TZelKeyStore.h"

#include <sys/stat.h>

#include <set>
#include <vector>

#include "HevoFileUtils.h"
#include "HevoTempFiles.h"
#include "THevoDeviceInfo.h"
#include "ZelKeyChainChange.h"
#include "ZelKeyChainGuard.h"
#include "ZelSecureStoreItems.h"
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

// LockKeysOf returns the lock keys of the item files that |keyChain| names:
// the base names by which loads find them (see ZelKeyChainLocks.h).
std::set<std::string> LockKeysOf(const TZelKeyChain& keyChain) {
  std::set<std::string> keys;
  for (const auto& item : keyChain.GetContainer()) {
    const std::string file = keyChain.GetName() + item.first;
    if (IsItemFileName(file)) keys.insert(HevoFileUtils::GetFileBaseName(file));
  }
  return keys;
}

// IsRemovable tells whether an erase can remove |filePath|: something
// that is not a directory is there.
bool IsRemovable(const std::string& filePath) {
  struct stat info;
  return lstat(filePath.c_str(), &info) == 0 && !S_ISDIR(info.st_mode);
}

// CountItemFiles counts the items of |keyChain| that name an item file,
// only those whose file is removable when |erasePrefix| is given.
size_t CountItemFiles(const TZelKeyChain& keyChain, const std::string* erasePrefix) {
  size_t count = 0;
  for (const auto& item : keyChain.GetContainer())
    if (IsItemFileName(keyChain.GetName() + item.first) &&
        (erasePrefix == nullptr || IsRemovable(*erasePrefix + item.first)))
      ++count;
  return count;
}

// ReportStored logs the items of |keyChain| that were not stored, in id
// order: those |done| (one flag per item handled) says failed, and those
// whose file name the commit reports in |failed|. Returns the last handled
// item's outcome, false when none was handled.
bool ReportStored(const TZelKeyChain& keyChain, const std::vector<bool>& done,
                  const std::set<std::string>& failed) {
  bool result = false;
  size_t index = 0;
  for (const auto& item : keyChain.GetContainer()) {
    if (index == done.size()) break;
    const bool ok = done[index++] && !failed.count(keyChain.GetName() + item.first);
    // Each item overrides the result: it reports the last item only.
    result = ok;
    if (!ok)
      zelLogging_log(kLevelError,
                     "[TZelKeyStore] Can't encrypt/store keychain data for '%s'.",
                     item.first.c_str());
  }
  return result;
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
  const ZelKeyChainGuard guard(path, LockKeysOf(keyChain));
  // The item files change together where they can: prepared first, then
  // committed at once. One file alone is replaced crash-safely as it is.
  ZelKeyChainChange change(guard.DirectoryFd(), ZelKeyChainChange::Kind::kStore);
  const bool together = CountItemFiles(keyChain, nullptr) > 1 && change.Open();
  std::vector<bool> done;  // per item, in id order
  THevoBlob cipherText;
  try {
    for (const auto& item : keyChain.GetContainer()) {
      const std::string file = keyChain.GetName() + item.first;
      if (!IsItemFileName(file)) {
        done.push_back(false);
      } else if (!together) {
        done.push_back(secureStore->Store(prefix + item.first, item.second));
      } else {
        const std::vector<uint8_t>& bytes = cipherText.GetContainer();
        done.push_back(ZelEncryptItem(*secureStore, prefix + item.first, item.second, cipherText) &&
                       change.Put(file, bytes.data(), bytes.size()));
      }
    }
  } catch (...) {
    // The items before the one that threw are stored, its own is not.
    ReportStored(keyChain, done, change.Commit());
    throw;
  }
  return ReportStored(keyChain, done, change.Commit());
}

bool TZelKeyStore::LoadKeyChain(TZelKeyChain& keyChain) {
  const ZelKeyChainGuard guard(path, {keyChain.GetName()});
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
  const ZelKeyChainGuard guard(path, LockKeysOf(keyChain));
  ZelKeyChainChange change(guard.DirectoryFd(), ZelKeyChainChange::Kind::kErase);
  const bool together = CountItemFiles(keyChain, &prefix) > 1 && change.Open();
  std::vector<bool> done;  // per item, in id order
  for (const auto& item : keyChain.GetContainer()) {
    const std::string file = keyChain.GetName() + item.first;
    if (!IsItemFileName(file)) {
      done.push_back(false);
    } else if (!together) {
      done.push_back(HevoFileUtils::Remove(prefix + item.first));
    } else {
      done.push_back(IsRemovable(prefix + item.first) && change.Remove(file));
    }
  }
  const std::set<std::string> failed = change.Commit();
  bool result = true;
  size_t index = 0;
  for (const auto& item : keyChain.GetContainer()) {
    if (!done[index++] || failed.count(keyChain.GetName() + item.first)) {
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
