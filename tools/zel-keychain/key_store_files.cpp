// key_store_files.cpp: see key_store_files.h.
#include "key_store_files.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <set>

#include "HevoFileUtils.h"
#include "THevoDeviceInfo.h"
#include "TZelKeyStore.h"
#include "names.h"
#include "text_encoding.h"

std::string KeyStoreDirectory() {
  std::string storage;
  if (!THevoDeviceInfo::GetInstance().GetInfo(THevoDeviceInfo::PERSISTENT_STORAGE, storage))
    return TZelKeyStore::ROOT_PATH_DEFAULT;
  return storage + "/" + TZelKeyStore::ROOT_PATH_DEFAULT;
}

bool ListKeychains(const std::string& dir, Keychains& keychains, std::string& error) {
  std::set<std::string> files;
  if (!HevoFileUtils::GetFiles(dir, files)) {
    // The listing gives no reason; the directory itself usually does.
    struct stat info;
    if (stat(dir.c_str(), &info) != 0)
      error = std::strerror(errno);
    else if (!S_ISDIR(info.st_mode))
      error = "not a directory";
    else
      error = "cannot be listed";
    error = "key-store directory " + Quoted(dir) + ": " + error;
    return false;
  }
  for (const std::string& file : files) {
    struct stat info;
    // A file removed since the listing is no longer there to show.
    if (lstat((dir + "/" + file).c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
    const std::string name = HevoFileUtils::GetFileBaseName(file);
    keychains[name].push_back({file.substr(name.size()), file, static_cast<uint64_t>(info.st_size)});
  }
  return true;
}

std::vector<MixedName> FindMixedNames(const Keychains& keychains) {
  std::vector<MixedName> found;
  for (const auto& keychain : keychains) {
    std::map<std::string, std::vector<std::string>> files_by_name;
    for (const ItemFile& item : keychain.second) {
      const std::string suffix = StandardSuffixOf(item.id);
      if (suffix.empty() || suffix == item.id) continue;
      const std::string name = keychain.first + item.id.substr(0, item.id.size() - suffix.size());
      files_by_name[name].push_back(item.file);
    }
    for (auto& entry : files_by_name)
      found.push_back({keychain.first, entry.first, std::move(entry.second)});
  }
  return found;
}

std::string DescribeMixedName(const MixedName& mixed) {
  std::string files;
  for (const std::string& file : mixed.files) files += (files.empty() ? "" : ", ") + Quoted(file);
  return "files " + files + " look like the items of a keychain named " + Quoted(mixed.name) +
         ", but the key store takes them as items of keychain " + Quoted(mixed.keychain) +
         " (loading or erasing " + Quoted(mixed.keychain) + " takes them too) and a keychain " +
         Quoted(mixed.name) + " never finds them";
}
