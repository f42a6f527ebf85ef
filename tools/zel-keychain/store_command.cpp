// store_command.cpp: zel-keychain store NAME ID=FILE... [--verify], the
// factory line's command.
//
// Every file is read whole and checked before the key store is touched: a
// missing or unreadable file, or an item the key store cannot store (fewer
// than 16 bytes, more than TZelSecureStore::MAX_ITEM_SIZE), stops the
// command with nothing stored. The items then go to the key store in one
// StoreKeyChain call. Its result tells of the last item only, so the items
// it logged as not stored (library_log.h) are what tells whether every item
// was stored; each one is named. With --verify the keychain is loaded back
// into a fresh keychain object and every item compared byte for byte.
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "TZelKeyStore.h"
#include "TZelSecureStore.h"
#include "commands.h"
#include "item_bytes_io.h"
#include "item_file_check.h"
#include "key_store_files.h"
#include "library_log.h"
#include "names.h"
#include "report.h"
#include "text_encoding.h"

namespace {

constexpr size_t kMinItemSize = 16;  // the cipher encrypts whole blocks only

struct InputItem {
  std::string id;
  std::string path;
  std::unique_ptr<THevoBlob> bytes = std::make_unique<THevoBlob>();
};

// ParseItems turns the ID=FILE arguments into items; false on a usage
// error (bad form, bad or repeated id).
bool ParseItems(const std::vector<std::string>& arguments, std::vector<InputItem>& items,
                std::string& error) {
  std::set<std::string> ids;
  for (size_t i = 1; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const size_t equals = argument.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == argument.size()) {
      error = "expected ID=FILE, got " + Quoted(argument);
      return false;
    }
    InputItem item;
    item.id = ItemIdOf(argument.substr(0, equals));
    item.path = argument.substr(equals + 1);
    error = ItemIdProblem(item.id);
    if (!error.empty()) return false;
    if (!ids.insert(item.id).second) {
      error = "item " + DescribeItem(item.id) + " given twice";
      return false;
    }
    items.push_back(std::move(item));
  }
  return true;
}

// ReadItems reads every file; the first problem fails the command.
int ReadItems(std::vector<InputItem>& items) {
  for (InputItem& item : items) {
    std::string error;
    if (!ReadWholeFile(item.path, TZelSecureStore::MAX_ITEM_SIZE, *item.bytes, error))
      return Fail("item " + DescribeItem(item.id) + ": cannot read " + Quoted(item.path) + ": " +
                  error + "; nothing stored");
    const size_t size = item.bytes->GetContainer().size();
    if (size < kMinItemSize)
      return Fail("item " + DescribeItem(item.id) + ": " + Quoted(item.path) + " holds " +
                  std::to_string(size) + " bytes; the key store stores items of at least " +
                  std::to_string(kMinItemSize) + " bytes; nothing stored");
  }
  return kExitOk;
}

std::string PathOf(const std::vector<InputItem>& items, const std::string& id) {
  for (const InputItem& item : items)
    if (item.id == id) return item.path;
  return std::string();
}

// StoreAll stores the keychain; every item that failed is named.
int StoreAll(const std::string& name, const TZelKeyChain& chain,
             const std::vector<InputItem>& items) {
  TZelKeyStore& store = TZelKeyStore::GetInstance();
  TakeUnstoredItems();
  bool result = false;
  std::string thrown;
  try {
    result = store.StoreKeyChain(chain);
  } catch (const char* message) {
    thrown = message;
  }
  const std::vector<std::string> unstored = TakeUnstoredItems();
  for (const std::string& id : unstored)
    Complain("item " + DescribeItem(id) + " from " + Quoted(PathOf(items, id)) +
             " was not stored");
  if (!thrown.empty())
    return Fail("storing keychain " + Quoted(name) + " stopped part way: " + thrown);
  if (!unstored.empty())
    return Fail(std::to_string(unstored.size()) + " of " + std::to_string(items.size()) +
                " items of keychain " + Quoted(name) + " were not stored");
  if (!result) return Fail("the key store did not store keychain " + Quoted(name));
  for (const auto& item : chain.GetContainer())
    Say("stored " + Quoted(name + item.first) + " from " + Quoted(PathOf(items, item.first)) +
        " (" + std::to_string(item.second.GetContainer().size()) + " bytes)");
  return kExitOk;
}

// VerifyStored loads the keychain back and compares every item.
int VerifyStored(const std::string& name, const TZelKeyChain& chain) {
  TZelKeyChain loaded(name);
  try {
    TZelKeyStore::GetInstance().LoadKeyChain(loaded);
  } catch (const char* message) {
    // Some file of this keychain is damaged: name it.
    Complain("reading keychain " + Quoted(name) + " back failed: " + message);
    Keychains keychains;
    std::string error;
    const std::string dir = KeyStoreDirectory();
    if (ListKeychains(dir, keychains, error)) {
      for (const ItemFile& item : keychains[name]) {
        THevoBlob plain;
        const ItemFileCheck check = CheckItemFile(dir + "/" + item.file, plain);
        if (check.state != ItemFileState::kOk)
          Complain(Quoted(item.file) + " is " + StateName(check.state) + ": " + check.reason);
      }
    }
    return Fail("keychain " + Quoted(name) + " does not read back");
  }
  size_t bad = 0;
  for (const auto& item : chain.GetContainer()) {
    const auto found = loaded.GetContainer().find(item.first);
    if (found == loaded.GetContainer().end()) {
      Complain("item " + DescribeItem(item.first) + " is missing when read back");
      ++bad;
    } else if (found->second.GetContainer() != item.second.GetContainer()) {
      Complain("item " + DescribeItem(item.first) + " reads back different bytes");
      ++bad;
    }
  }
  if (bad != 0)
    return Fail(std::to_string(bad) + " of " + std::to_string(chain.GetContainer().size()) +
                " items of keychain " + Quoted(name) + " do not read back as stored");
  Say("verified keychain " + Quoted(name) + ": " + std::to_string(chain.GetContainer().size()) +
      " items read back byte for byte");
  return kExitOk;
}

}  // namespace

int RunStore(const Invocation& invocation) {
  const std::string& name = invocation.arguments[0];
  std::string error = KeychainNameProblem(name);
  std::vector<InputItem> items;
  if (!error.empty() || !ParseItems(invocation.arguments, items, error)) {
    Complain(error);
    return kExitUsage;
  }
  const int read = ReadItems(items);
  if (read != kExitOk) return read;

  TZelKeyChain chain(name);
  for (InputItem& item : items) {
    chain.SetItem(item.id, *item.bytes);
    item.bytes.reset();  // wiped: the keychain holds the one copy now
  }
  const int stored = StoreAll(name, chain, items);
  if (stored != kExitOk || !invocation.Has("--verify")) return stored;
  return VerifyStored(name, chain);
}
