// The key store: directory, file naming, result rules and log lines.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <regex>

#include "TZelKeyStore.h"
#include "log_capture.h"
#include "store_test_util.h"
#include "temp_dir.h"

namespace {

const char kStoreTrace[] = "[%s:%d][%s]: [TZelKeyStore] Store keychain '%s'";
const char kLoadTrace[] =
    "[%s:%d][%s]: [TZelKeyStore] Load keychain with id '%s' from '%s'";

std::string Item(char fill, size_t size = 40) { return std::string(size, fill); }

std::map<std::string, std::string> Items(const TZelKeyChain& chain) {
  std::map<std::string, std::string> items;
  for (const auto& item : chain.GetContainer())
    items[item.first] = BlobBytes(item.second);
  return items;
}

// Only the key store's own records; the keychain's traces are left out.
std::vector<LogRecord> KeyStoreRecords() {
  std::vector<LogRecord> records;
  for (const LogRecord& record : TakeLogRecords())
    if (record.format.find("TZelKeyChain") == std::string::npos)
      records.push_back(record);
  return records;
}

class KeyStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    umask(022);
    setenv("HEVO_PERSISTENT_STORAGE", root_.path().c_str(), 1);
    store_.reset(new TZelKeyStore);
    unsetenv("HEVO_PERSISTENT_STORAGE");
    dir_ = root_ / "zel_keystore";
    TakeLogRecords();
  }

  TempDir root_;
  std::string dir_;
  std::unique_ptr<TZelKeyStore> store_;
};

TEST_F(KeyStoreTest, CreatesTheDirectoryWithMode0755) {
  EXPECT_EQ(FileMode(dir_), 0755u);
  EXPECT_EQ(&TZelKeyStore::GetInstance(), &TZelKeyStore::GetInstance());
  EXPECT_STREQ(TZelKeyStore::ROOT_PATH_DEFAULT, "zel_keystore");
}

TEST_F(KeyStoreTest, StoreLoadEraseRoundTrip) {
  TZelKeyChain chain("device");
  chain.SetItem(TZelKeyChain::ITEM_TYPE_PUBLIC_KEY, Item('p'));
  chain.SetItem(TZelKeyChain::ITEM_TYPE_PRIVATE_KEY, Item('k', 1700));
  chain.SetItem(TZelKeyChain::ITEM_TYPE_CERT_AUTHOTIRY, Item('a', 16));
  chain.SetItem(TZelKeyChain::ITEM_TYPE_CERT, Item('c', 1200));
  TakeLogRecords();

  ASSERT_TRUE(store_->StoreKeyChain(chain));
  EXPECT_EQ(ListDir(dir_),
            (std::set<std::string>{"device.ca.crt.enc", "device.crt.enc",
                                   "device.key.enc", "device.pem.enc"}));
  auto records = KeyStoreRecords();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].format, kStoreTrace);
  EXPECT_TRUE(std::regex_match(
      records[0].text,
      std::regex(R"(\[source/TZelKeyStore\.cpp:\d+\]\[StoreKeyChain\]: )"
                 R"(\[TZelKeyStore\] Store keychain ')" + dir_ + "/device'")))
      << records[0].text;

  TZelKeyChain loaded("device");
  ASSERT_TRUE(store_->LoadKeyChain(loaded));
  EXPECT_EQ(Items(loaded), Items(chain));
  records = KeyStoreRecords();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].format, kLoadTrace);
  EXPECT_NE(records[0].text.find("[LoadKeyChain]: [TZelKeyStore] Load keychain with id 'device' from '" + dir_ + "'"),
            std::string::npos);

  ASSERT_TRUE(store_->EraseKeyChain(loaded));
  EXPECT_TRUE(loaded.GetContainer().empty());
  EXPECT_EQ(loaded.GetName(), "device");
  EXPECT_TRUE(ListDir(dir_).empty());
  EXPECT_TRUE(TakeLogRecords().empty());  // erasing writes no trace
}

TEST_F(KeyStoreTest, ResultIsTheLastItemsAndFailuresAreLogged) {
  // A directory where an item's file would go makes that item fail.
  mkdir((dir_ + "/n.fail").c_str(), 0700);
  const struct {
    std::vector<std::string> ids;
    bool result;
    std::vector<std::string> failed;
  } cases[] = {
      {{}, false, {}},
      {{".a", ".fail"}, false, {".fail"}},  // only the last fails
      {{".fail", ".z"}, true, {".fail"}},   // only the last succeeds
  };
  for (const auto& c : cases) {
    TZelKeyChain chain("n");
    for (const auto& id : c.ids) chain.SetItem(id, Item('x'));
    TakeLogRecords();
    EXPECT_EQ(store_->StoreKeyChain(chain), c.result);
    const auto records = KeyStoreRecords();
    ASSERT_EQ(records.size(), 1 + c.failed.size());
    for (size_t i = 0; i < c.failed.size(); ++i)
      EXPECT_EQ(records[1 + i],
                (LogRecord{2, "[TZelKeyStore] Can't encrypt/store keychain data for '%s'.",
                           "[TZelKeyStore] Can't encrypt/store keychain data for '" +
                               c.failed[i] + "'."}));
  }
}

TEST_F(KeyStoreTest, ShortItemStopsTheStoreWithoutAnErrorLine) {
  TZelKeyChain chain("s");
  chain.SetItem(".a", Item('a'));
  chain.SetItem(".b", Item('b', 5));
  chain.SetItem(".c", Item('c'));
  TakeLogRecords();
  EXPECT_EQ(ThrownMessage([&] { store_->StoreKeyChain(chain); }),
            "ASSERTION FAILED: in_size != 0");
  EXPECT_EQ(ListDir(dir_), std::set<std::string>{"s.a"});
  EXPECT_EQ(KeyStoreRecords().size(), 1u);  // the trace only
}

TEST_F(KeyStoreTest, FilesBelongToTheNameBeforeTheFirstDot) {
  const struct {
    std::string name, id;
  } stored[] = {{"a", ".pem.enc"},   {"ab", ".pem.enc"}, {"a.b", ".pem.enc"},
                {"a", "nodot"},      {"", ".key.enc"}};
  for (const auto& s : stored) {
    TZelKeyChain chain(s.name);
    chain.SetItem(s.id, Item('v'));
    ASSERT_TRUE(store_->StoreKeyChain(chain));
  }
  const struct {
    std::string name;
    std::map<std::string, std::string> items;
  } loads[] = {
      {"a", {{".pem.enc", Item('v')}, {".b.pem.enc", Item('v')}}},
      {"ab", {{".pem.enc", Item('v')}}},
      {"a.b", {}},  // its file's base name is "a"
      {"anodot", {{"", Item('v')}}},  // the whole file name is its base
      {"", {{".key.enc", Item('v')}}},
  };
  for (const auto& l : loads) {
    TZelKeyChain chain(l.name);
    EXPECT_EQ(store_->LoadKeyChain(chain), !l.items.empty()) << l.name;
    EXPECT_EQ(Items(chain), l.items) << l.name;
  }
}

TEST_F(KeyStoreTest, LoadKeepsItemsInMemoryAndSkipsUnreadableFiles) {
  TZelKeyChain writer("k");
  writer.SetItem(".one", Item('1'));
  writer.SetItem(".two", Item('2'));
  ASSERT_TRUE(store_->StoreKeyChain(writer));
  // A file whose plaintext is a whole block of padding decrypts to nothing
  // and counts as unreadable.
  THevoBlob pad_only;
  TZelSecureStore::GetInstance().Encrypt(THevoBlob(std::string(16, '\x10')), pad_only);
  pad_only.GetContainer().resize(16);
  ASSERT_TRUE(pad_only.Store(dir_ + "/k.bad"));

  TZelKeyChain chain("k");
  chain.SetItem(".memory", Item('m'));
  chain.SetItem(".two", Item('o'));
  TakeLogRecords();
  EXPECT_TRUE(store_->LoadKeyChain(chain));
  EXPECT_EQ(Items(chain), (std::map<std::string, std::string>{
                              {".memory", Item('m')}, {".one", Item('1')}, {".two", Item('2')}}));
  const auto records = KeyStoreRecords();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[1], (LogRecord{2, "[TZelKeyStore] Can't load/decrypt keychain data from '%s'.",
                                   "[TZelKeyStore] Can't load/decrypt keychain data from '" +
                                       dir_ + "/k.bad'."}));
}

TEST_F(KeyStoreTest, EraseRemovesOnlyHeldItemsAndAlwaysEmpties) {
  TZelKeyChain chain("e");
  chain.SetItem(".kept", Item('k'));
  chain.SetItem(".gone", Item('g'));
  ASSERT_TRUE(store_->StoreKeyChain(chain));
  chain.RemoveItem(".kept");
  chain.SetItem(".never-stored", Item('n'));
  TakeLogRecords();

  EXPECT_FALSE(store_->EraseKeyChain(chain));
  EXPECT_TRUE(chain.GetContainer().empty());
  EXPECT_EQ(ListDir(dir_), std::set<std::string>{"e.kept"});
  EXPECT_EQ(TakeLogRecords(),
            (std::vector<LogRecord>{{2, "[TZelKeyStore] Can't remove keychain data for '%s'.",
                                     "[TZelKeyStore] Can't remove keychain data for '.never-stored'."}}));
  TZelKeyChain empty("e");
  EXPECT_TRUE(store_->EraseKeyChain(empty));
}

TEST(KeyStoreDirectory, WithoutDeviceInformationUsesTheRelativeDefault) {
  TempDir cwd;
  char previous[4096];
  ASSERT_NE(getcwd(previous, sizeof previous), nullptr);
  ASSERT_EQ(chdir(cwd.path().c_str()), 0);
  unsetenv("HEVO_PERSISTENT_STORAGE");
  TakeLogRecords();
  TZelKeyStore store;
  const auto records = TakeLogRecords();
  TZelKeyChain chain("r");
  chain.SetItem(".x", Item('x'));
  const bool stored = store.StoreKeyChain(chain);  // no directory: fails
  mkdir("zel_keystore", 0755);
  const bool stored_later = store.StoreKeyChain(chain);
  ASSERT_EQ(chdir(previous), 0);

  EXPECT_EQ(records, (std::vector<LogRecord>{
                         {2, "[TZelKeyStore] Can't read PERSISTENT_STORAGE device info item.",
                          "[TZelKeyStore] Can't read PERSISTENT_STORAGE device info item."}}));
  EXPECT_FALSE(stored);
  EXPECT_TRUE(stored_later);
  EXPECT_EQ(ListDir(cwd / "zel_keystore"), std::set<std::string>{"r.x"});
}

TEST(KeyStoreDirectory, PathsAreNotNormalised) {
  TempDir root;
  setenv("HEVO_PERSISTENT_STORAGE", (root.path() + "/").c_str(), 1);
  TZelKeyStore store;
  unsetenv("HEVO_PERSISTENT_STORAGE");
  TZelKeyChain chain("n");
  TakeLogRecords();
  store.StoreKeyChain(chain);
  const auto records = TakeLogRecords();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_NE(records[0].text.find(root.path() + "//zel_keystore/n'"), std::string::npos);

  // A listing that fails leaves the keychain as it was and logs nothing.
  TZelKeyChain held("n");
  held.SetItem(".held", Item('h'));
  rmdir((root / "zel_keystore").c_str());
  TakeLogRecords();
  EXPECT_TRUE(store.LoadKeyChain(held));
  EXPECT_TRUE(TakeLogRecords().empty());
}

}  // namespace
