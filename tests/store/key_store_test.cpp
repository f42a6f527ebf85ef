// The key store: its directory, file naming, result rules and log lines.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <regex>

#include "TZelKeyStore.h"
#include "log_capture.h"
#include "temp_dir.h"

namespace {

using Items = std::map<std::string, std::string>;
const std::string kValue(40, 'v');

Items ItemsOf(const TZelKeyChain& chain) {
  Items items;
  for (const auto& item : chain.GetContainer())
    items[item.first].assign(item.second.GetContainer().begin(), item.second.GetContainer().end());
  return items;
}

TZelKeyChain Chain(const std::string& name, const Items& items) {
  TZelKeyChain chain(name);
  for (const auto& item : items) chain.SetItem(item.first, item.second);
  return chain;
}

// Only the key store's own records; the keychain's traces are left out.
std::vector<LogRecord> KeyStoreRecords() {
  std::vector<LogRecord> records = TakeLogRecords();
  records.erase(std::remove_if(records.begin(), records.end(),
                               [](const LogRecord& r) { return r.format.find("TZelKeyChain") != std::string::npos; }),
                records.end());
  return records;
}

LogRecord Error(const std::string& format, const std::string& arg) {
  const size_t at = format.find("%s");
  return {2, format, format.substr(0, at) + arg + format.substr(at + 2)};
}

class KeyStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    umask(022);
    setenv("HEVO_PERSISTENT_STORAGE", root_.path().c_str(), 1);
    store_ = std::make_unique<TZelKeyStore>();
    unsetenv("HEVO_PERSISTENT_STORAGE");
    TakeLogRecords();
  }
  TempDir root_;
  const std::string dir_ = root_ / "zel_keystore";
  std::unique_ptr<TZelKeyStore> store_;
};

TEST_F(KeyStoreTest, StoreLoadEraseRoundTripWithTraces) {
  EXPECT_EQ(FileMode(dir_), 0755u);
  EXPECT_STREQ(TZelKeyStore::ROOT_PATH_DEFAULT, "zel_keystore");
  const Items items = {{TZelKeyChain::ITEM_TYPE_PUBLIC_KEY, kValue},
                       {TZelKeyChain::ITEM_TYPE_PRIVATE_KEY, std::string(1700, 'k')},
                       {TZelKeyChain::ITEM_TYPE_CERT_AUTHOTIRY, std::string(16, 'a')},
                       {TZelKeyChain::ITEM_TYPE_CERT, std::string(1200, 'c')}};
  const TZelKeyChain chain = Chain("device", items);
  TakeLogRecords();
  ASSERT_TRUE(store_->StoreKeyChain(chain));
  EXPECT_EQ(ListDir(dir_), (std::set<std::string>{"device.ca.crt.enc", "device.crt.enc",
                                                   "device.key.enc", "device.pem.enc"}));
  EXPECT_EQ(FileMode(dir_ + "/.hevo-tmp-lock"), 0600u);  // the lock file stays
  TZelKeyChain loaded("device");
  ASSERT_TRUE(store_->LoadKeyChain(loaded));
  EXPECT_EQ(ItemsOf(loaded), items);
  const auto records = KeyStoreRecords();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].format, "[%s:%d][%s]: [TZelKeyStore] Store keychain '%s'");
  EXPECT_TRUE(std::regex_match(records[0].text, std::regex(R"(\[source/TZelKeyStore\.cpp:\d+\]\[StoreKeyChain\]: )"
                                                           R"(\[TZelKeyStore\] Store keychain ')" + dir_ + "/device'")));
  EXPECT_EQ(records[1].format, "[%s:%d][%s]: [TZelKeyStore] Load keychain with id '%s' from '%s'");
  EXPECT_THAT(records[1].text, ::testing::EndsWith("[LoadKeyChain]: [TZelKeyStore] Load keychain with id 'device' from '" + dir_ + "'"));

  ASSERT_TRUE(store_->EraseKeyChain(loaded));
  EXPECT_TRUE(loaded.GetContainer().empty());
  EXPECT_TRUE(ListDir(dir_).empty());
  EXPECT_TRUE(TakeLogRecords().empty());  // erasing writes no trace
}

TEST_F(KeyStoreTest, ResultIsTheLastItemsAndEachFailureIsLogged) {
  mkdir((dir_ + "/n.fail").c_str(), 0700);  // in the way of that item's file
  const char* kFormat = "[TZelKeyStore] Can't encrypt/store keychain data for '%s'.";
  const struct { Items items; bool result; size_t failures; } cases[] = {
      {{}, false, 0}, {{{".a", kValue}, {".fail", kValue}}, false, 1}, {{{".fail", kValue}, {".z", kValue}}, true, 1}};
  for (const auto& c : cases) {
    const TZelKeyChain chain = Chain("n", c.items);
    TakeLogRecords();
    EXPECT_EQ(store_->StoreKeyChain(chain), c.result);
    const auto records = KeyStoreRecords();
    ASSERT_EQ(records.size(), 1 + c.failures);
    if (c.failures) {
      EXPECT_EQ(records[1], Error(kFormat, ".fail"));
    }
  }
  // A short item throws out of the store: the items before it are written.
  const TZelKeyChain chain = Chain("s", {{".a", kValue}, {".b", "short"}, {".c", kValue}});
  EXPECT_THAT([&] { store_->StoreKeyChain(chain); },
              ::testing::Throws<const char*>(::testing::StrEq("ASSERTION FAILED: in_size != 0")));
  EXPECT_EQ(ListDir(dir_), (std::set<std::string>{"n.fail", "n.z", "n.a", "s.a"}));
}

TEST_F(KeyStoreTest, FilesBelongToTheNameBeforeTheFirstDot) {
  for (const auto& stored : std::vector<std::pair<std::string, std::string>>{
           {"a", ".pem.enc"}, {"ab", ".pem.enc"}, {"a.b", ".pem.enc"}, {"a", "nodot"}, {"", ".key.enc"}})
    ASSERT_TRUE(store_->StoreKeyChain(Chain(stored.first, {{stored.second, kValue}})));
  const std::pair<std::string, Items> loads[] = {
      {"a", {{".pem.enc", kValue}, {".b.pem.enc", kValue}}},
      {"ab", {{".pem.enc", kValue}}},
      {"a.b", {}},              // its file's base name is "a"
      {"anodot", {{"", kValue}}},  // the whole file name is its base
      {"", {{".key.enc", kValue}}}};
  for (const auto& load : loads) {
    TZelKeyChain chain(load.first);
    EXPECT_EQ(store_->LoadKeyChain(chain), !load.second.empty()) << load.first;
    EXPECT_EQ(ItemsOf(chain), load.second) << load.first;
  }
}

TEST_F(KeyStoreTest, LoadKeepsItemsInMemoryAndLogsUnreadableFiles) {
  ASSERT_TRUE(store_->StoreKeyChain(Chain("k", {{".one", "1111111111111111"}, {".two", kValue}})));
  THevoBlob pad_only;  // a whole block of padding decrypts to nothing
  TZelSecureStore::GetInstance().Encrypt(THevoBlob(std::string(16, '\x10')), pad_only);
  pad_only.GetContainer().resize(16);
  ASSERT_TRUE(pad_only.Store(dir_ + "/k.bad"));
  TZelKeyChain chain = Chain("k", {{".memory", "m"}, {".two", "old"}});
  TakeLogRecords();
  EXPECT_TRUE(store_->LoadKeyChain(chain));
  EXPECT_EQ(ItemsOf(chain), (Items{{".memory", "m"}, {".one", "1111111111111111"}, {".two", kValue}}));
  const auto records = KeyStoreRecords();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[1], Error("[TZelKeyStore] Can't load/decrypt keychain data from '%s'.", dir_ + "/k.bad"));
}

// A directory that cannot be listed (missing, or a file in its place) gives
// a load that logs nothing at all, not even its trace, and keeps what the
// keychain held.
TEST_F(KeyStoreTest, LoadFromADirectoryThatCannotBeListedLogsNothing) {
  ASSERT_EQ(rmdir(dir_.c_str()), 0);
  for (const bool file_in_its_place : {false, true}) {
    if (file_in_its_place) WriteFile(dir_, "not a directory");
    for (const Items& held : {Items{}, Items{{".held", kValue}}}) {
      TZelKeyChain chain = Chain("k", held);
      TakeLogRecords();
      EXPECT_EQ(store_->LoadKeyChain(chain), !held.empty());
      EXPECT_EQ(ItemsOf(chain), held);
      EXPECT_TRUE(TakeLogRecords().empty()) << file_in_its_place;
    }
  }
}

TEST_F(KeyStoreTest, EraseRemovesOnlyHeldItemsAndAlwaysEmpties) {
  ASSERT_TRUE(store_->StoreKeyChain(Chain("e", {{".kept", kValue}, {".gone", kValue}})));
  TZelKeyChain chain = Chain("e", {{".gone", kValue}, {".never-stored", kValue}});
  TakeLogRecords();
  EXPECT_FALSE(store_->EraseKeyChain(chain));
  EXPECT_TRUE(chain.GetContainer().empty());
  EXPECT_EQ(ListDir(dir_), std::set<std::string>{"e.kept"});
  EXPECT_EQ(TakeLogRecords(), std::vector<LogRecord>{Error("[TZelKeyStore] Can't remove keychain data for '%s'.", ".never-stored")});
  TZelKeyChain empty("e");
  EXPECT_TRUE(store_->EraseKeyChain(empty));
}

TEST(KeyStoreDirectory, WithoutDeviceInformationUsesTheRelativeDefault) {
  TempDir cwd;
  const std::filesystem::path previous = std::filesystem::current_path();
  std::filesystem::current_path(cwd.path());
  unsetenv("HEVO_PERSISTENT_STORAGE");
  TakeLogRecords();
  TZelKeyStore store;
  const auto records = TakeLogRecords();
  const TZelKeyChain chain = Chain("r", {{".x", kValue}});
  const bool stored = store.StoreKeyChain(chain);  // no directory is created
  mkdir("zel_keystore", 0755);
  const bool stored_later = store.StoreKeyChain(chain);
  std::filesystem::current_path(previous);
  const char* kText = "[TZelKeyStore] Can't read PERSISTENT_STORAGE device info item.";
  EXPECT_EQ(records, (std::vector<LogRecord>{{2, kText, kText}}));
  EXPECT_FALSE(stored);
  EXPECT_TRUE(stored_later);
  EXPECT_EQ(ListDir(cwd / "zel_keystore"), std::set<std::string>{"r.x"});
}

}  // namespace
