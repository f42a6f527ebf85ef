// keychain_demo: stores a keychain of the four standard items, lists the
// key-store directory, loads the keychain back into a fresh object, prints
// and checks it, and erases it.
//
//   keychain_demo [SAMPLES_DIR]
//
// The key store lives under $HEVO_PERSISTENT_STORAGE, or under a fresh
// temporary directory when that variable is not set. Exits non-zero when
// anything does not match.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <string>

#include "TZelKeyChain.h"
#include "TZelKeyStore.h"

namespace {

bool ReadText(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream bytes;
  bytes << in.rdbuf();
  text = bytes.str();
  return true;
}

void ListDirectory(const std::string& dir) {
  std::cout << "Files in " << dir << ":\n";
  DIR* stream = opendir(dir.c_str());
  if (stream == nullptr) {
    std::cout << "  (cannot list)\n";
    return;
  }
  std::set<std::string> names;
  while (const dirent* entry = readdir(stream)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.insert(name);
  }
  closedir(stream);
  for (const std::string& name : names) {
    struct stat info;
    if (stat((dir + "/" + name).c_str(), &info) == 0)
      std::cout << "  " << name << "  " << info.st_size << " bytes\n";
  }
  if (names.empty()) std::cout << "  (empty)\n";
}

int Fail(const std::string& what) {
  std::cout << "FAILED: " << what << "\n";
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string samples = argc > 1 ? argv[1] : ZEL_EXAMPLE_SAMPLES_DIR;

  // Where the key store goes: the device's persistent storage, as the
  // platform reports it through HEVO_PERSISTENT_STORAGE, or a fresh
  // temporary directory.
  const char* storage = std::getenv("HEVO_PERSISTENT_STORAGE");
  std::string root;
  if (storage != nullptr && *storage != '\0') {
    root = storage;
  } else {
    char pattern[] = "/tmp/keychain-demo-XXXXXX";
    if (mkdtemp(pattern) == nullptr) return Fail("cannot create a temporary directory");
    root = pattern;
    setenv("HEVO_PERSISTENT_STORAGE", root.c_str(), 1);
  }
  const std::string dir = root + "/" + TZelKeyStore::ROOT_PATH_DEFAULT;
  std::cout << "Persistent storage: " << root << "\n"
            << "Key-store directory: " << dir << "\n\n";

  const struct {
    const char* id;
    const char* file;
  } items[] = {{TZelKeyChain::ITEM_TYPE_PUBLIC_KEY, "device.pub.pem"},
               {TZelKeyChain::ITEM_TYPE_PRIVATE_KEY, "device.key.pem"},
               {TZelKeyChain::ITEM_TYPE_CERT_AUTHOTIRY, "ca.crt"},
               {TZelKeyChain::ITEM_TYPE_CERT, "device.crt"}};

  TZelKeyChain original("demo");
  for (const auto& item : items) {
    std::string text;
    if (!ReadText(samples + "/" + item.file, text))
      return Fail("cannot read sample " + samples + "/" + item.file);
    original.SetItem(item.id, text);
    std::cout << "Put " << item.file << " (" << text.size() << " bytes) into keychain 'demo' as "
              << item.id << "\n";
  }

  TZelKeyStore& store = TZelKeyStore::GetInstance();
  std::cout << "\nStoring keychain 'demo'...\n";
  if (!store.StoreKeyChain(original)) return Fail("StoreKeyChain returned false");
  ListDirectory(dir);

  std::cout << "\nLoading keychain 'demo' into a fresh keychain...\n";
  TZelKeyChain loaded("demo");
  if (!store.LoadKeyChain(loaded)) return Fail("LoadKeyChain returned false");
  loaded.Print();

  std::cout << "\nComparing the loaded items with the originals...\n";
  if (loaded.GetContainer().size() != original.GetContainer().size())
    return Fail("loaded keychain has " + std::to_string(loaded.GetContainer().size()) +
                " items, expected " + std::to_string(original.GetContainer().size()));
  for (const auto& item : original.GetContainer()) {
    THevoBlob back;
    loaded.GetItem(item.first, back);
    if (back.GetContainer() != item.second.GetContainer())
      return Fail("item " + item.first + " differs");
    std::cout << "  " << item.first << ": " << back.GetContainer().size()
              << " bytes, identical\n";
  }

  std::cout << "\nErasing keychain 'demo'...\n";
  if (!store.EraseKeyChain(loaded)) return Fail("EraseKeyChain returned false");
  ListDirectory(dir);
  TZelKeyChain after("demo");
  if (store.LoadKeyChain(after)) return Fail("items are still there after erasing");

  std::cout << "\nAll steps succeeded.\n";
  return 0;
}
