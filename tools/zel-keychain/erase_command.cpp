// erase_command.cpp: zel-keychain erase NAME.
//
// Removes every item file of keychain NAME that the key-store directory
// holds, damaged ones included. The key store's own erase does the work:
// the files are listed (as the key store's load would group them), a
// keychain is filled with the ids found (the bytes do not matter to an
// erase, so no file is decrypted) and TZelKeyStore::EraseKeyChain removes
// them. Which files are gone is then checked on disk, and each is named.
#include <sys/stat.h>

#include <cerrno>

#include "TZelKeyStore.h"
#include "commands.h"
#include "key_store_files.h"
#include "names.h"
#include "report.h"
#include "text_encoding.h"

int RunErase(const Invocation& invocation) {
  const std::string& name = invocation.arguments[0];
  const std::string problem = KeychainNameProblem(name);
  if (!problem.empty()) {
    Complain(problem);
    return kExitUsage;
  }
  const std::string dir = KeyStoreDirectory();
  Keychains keychains;
  std::string error;
  if (!ListKeychains(dir, keychains, error)) return Fail(error);
  const auto found = keychains.find(name);
  if (found == keychains.end())
    return Fail("keychain " + Quoted(name) + " has no item files in " + Quoted(dir));
  const std::vector<ItemFile>& files = found->second;
  for (const MixedName& mixed : FindMixedNames(Keychains{*found}))
    Warn(DescribeMixedName(mixed) + "; erasing them too");

  TZelKeyChain chain(name);
  for (const ItemFile& item : files) chain.SetItem(item.id, THevoBlob());
  // A removal that fails is logged by the key store (forwarded to standard
  // error); the files left on disk are what counts.
  const bool erased = TZelKeyStore::GetInstance().EraseKeyChain(chain);

  size_t left = 0;
  for (const ItemFile& item : files) {
    struct stat info;
    if (lstat((dir + "/" + item.file).c_str(), &info) != 0 && errno == ENOENT) {
      Say("removed " + Quoted(item.file));
    } else {
      Complain(Quoted(item.file) + " was not removed");
      ++left;
    }
  }
  if (left != 0)
    return Fail(std::to_string(left) + " of " + std::to_string(files.size()) +
                " item files of keychain " + Quoted(name) + " were not removed");
  if (!erased) return Fail("the key store reported a failure erasing keychain " + Quoted(name));
  return kExitOk;
}
