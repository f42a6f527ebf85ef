// keychain_tool.cpp: one key-store call on the sample keychain "dev" per
// process, for the tests that trace, kill or starve that process
// (crash_consistency.py).
//
//   zel_keychain_tool ROOT store old|new [ID]
//                                         StoreKeyChain of that version (of
//                                         item ID alone, when given)
//   zel_keychain_tool ROOT erase          EraseKeyChain of the sample item ids
//   zel_keychain_tool ROOT load           LoadKeyChain; prints a line per
//                                         sample item id: "ID old|new|other|missing"
//
// ROOT is the persistent-storage path. store and erase print "returned 1" or
// "returned 0" in one write as soon as the call returns, so that a trace of
// the process shows the moment. load prints "thrown MESSAGE" when the
// cipher threw. Error lines go to standard error through the default logger.
#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "TZelKeyStore.h"
#include "sample_keychain.h"

namespace {

void Print(const std::string& line) {
  const std::string text = line + "\n";
  if (write(STDOUT_FILENO, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    _exit(3);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string op = argc >= 3 ? argv[2] : "";
  if (!((argc == 4 || argc == 5) && op == "store") &&
      !(argc == 3 && (op == "erase" || op == "load"))) {
    Print("usage: zel_keychain_tool ROOT store old|new [ID] | erase | load");
    return 2;
  }
  setenv("HEVO_PERSISTENT_STORAGE", argv[1], 1);
  TZelKeyStore& store = TZelKeyStore::GetInstance();
  TZelKeyChain chain("dev");
  if (op != "load") {
    const bool renewed = op == "store" && std::strcmp(argv[3], "new") == 0;
    ItemBytes items = SampleItems(renewed ? SampleVersion::kNew : SampleVersion::kOld);
    if (argc == 5) items = {{argv[4], items[argv[4]]}};
    FillKeyChain(chain, items);
    const bool returned = op == "store" ? store.StoreKeyChain(chain) : store.EraseKeyChain(chain);
    Print(returned ? "returned 1" : "returned 0");
    return 0;
  }
  try {
    store.LoadKeyChain(chain);
  } catch (const char* message) {
    Print(std::string("thrown ") + message);
  }
  for (const auto& item : VersionsIn(ItemsOf(chain))) Print(item.first + " " + item.second);
  return 0;
}
