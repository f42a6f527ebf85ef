// key_store_files.h: the key-store directory as zel-keychain sees it, from
// the file names on disk.
//
// The directory is the one the key store uses: the persistent-storage path
// of the device information, "/", and TZelKeyStore::ROOT_PATH_DEFAULT; or
// ROOT_PATH_DEFAULT alone, relative to the working directory, when the
// device has no persistent-storage path. Looking does not create it.
//
// Files are grouped into keychains as the key store's load groups them: the
// keychain name is a file's name up to its first ".", the item id the rest.
// Only regular files count; the key store's temporaries (".hevo-tmp-*")
// are left out, as the base library's listing leaves them out.
#ifndef ZEL_KEYCHAIN_KEY_STORE_FILES_H
#define ZEL_KEYCHAIN_KEY_STORE_FILES_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct ItemFile {
  std::string id;    // the file name after the keychain name
  std::string file;  // the bare file name
  uint64_t size = 0;
};

// Keychains maps each keychain name to its item files, in file-name order.
using Keychains = std::map<std::string, std::vector<ItemFile>>;

// KeyStoreDirectory returns the key store's directory path.
std::string KeyStoreDirectory();

// ListKeychains fills |keychains| from |dir|. False, with |error| saying
// why, when the directory cannot be listed.
bool ListKeychains(const std::string& dir, Keychains& keychains, std::string& error);

// MixedName: item files grouped under |keychain| whose ids look like a
// standard item of a longer keychain name, |name| (the files of a keychain
// stored as "dev.v2" are items ".v2.pem.enc"... of "dev"). The key store
// loads and an erase removes them as items of |keychain|, and a keychain
// called |name| never finds them.
struct MixedName {
  std::string keychain;
  std::string name;
  std::vector<std::string> files;
};

// FindMixedNames returns every MixedName in |keychains|.
std::vector<MixedName> FindMixedNames(const Keychains& keychains);

// DescribeMixedName returns the warning text for |mixed|.
std::string DescribeMixedName(const MixedName& mixed);

#endif  // ZEL_KEYCHAIN_KEY_STORE_FILES_H
