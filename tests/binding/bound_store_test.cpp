// A host-bound library through its public API: items round-trip and the
// host secret appears with the first store; files of another device, under
// another name, damaged, or unbound are refused with their own lines and
// left in place; a missing or refused secret stops loads and stores; the
// explicit migration binds unbound files, and only those.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <map>
#include <memory>

#include "PKIWB_encrypt.h"
#include "TZelKeyStore.h"
#include "ZelDeviceBinding.h"
#include "log_capture.h"
#include "sample_keychain.h"
#include "temp_dir.h"

namespace {

using ::testing::StrEq;
using ::testing::Throws;

const char kOtherDevice[] =
    "[ZelDeviceBinding] Can't load '%s': it belongs to another device, or this device's TPM or "
    "host secret changed, or the file was damaged.";
const char kNotBound[] =
    "[ZelDeviceBinding] Can't load '%s': it is not bound to a device (an unbound build wrote it, "
    "or it was put there); only an explicit migration binds it.";
const char kCannotLoad[] = "[ZelDeviceBinding] Can't load '%s' bound to this device: %s.";
const char kCannotStore[] = "[ZelDeviceBinding] Can't store '%s' bound to this device: %s.";

// BindingLines returns the binding's own records since the last call, as
// (format, text).
std::vector<std::pair<std::string, std::string>> BindingLines() {
  std::vector<std::pair<std::string, std::string>> lines;
  for (const LogRecord& r : TakeLogRecords())
    if (r.format.find("[ZelDeviceBinding]") != std::string::npos) {
      EXPECT_EQ(r.level, 2);
      lines.emplace_back(r.format, r.text);
    }
  return lines;
}

// Line fills the one "%s" of |format|.
std::pair<std::string, std::string> Line(const std::string& format, const std::string& arg) {
  std::string text = format;
  return {format, text.replace(text.find("%s"), 2, arg)};
}

std::map<std::string, std::string> Files(const std::string& dir) {
  std::map<std::string, std::string> files;
  for (const std::string& name : ListDir(dir)) files[name] = ReadFile(dir + "/" + name);
  return files;
}

class BoundStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("HEVO_PERSISTENT_STORAGE", root_.c_str(), 1);
    UseSecret(root_ + "-secret/host.secret");
    store_ = std::make_unique<TZelKeyStore>();
    TakeLogRecords();
  }
  void UseSecret(const std::string& path) {
    secret_ = path;
    setenv("ZEL_HOST_SECRET", path.c_str(), 1);
  }
  bool StoreSample(const std::string& name = "dev") {
    TZelKeyChain chain(name);
    FillKeyChain(chain, SampleItems(SampleVersion::kOld));
    return store_->StoreKeyChain(chain);
  }
  ItemBytes Load(const std::string& name = "dev") {
    TZelKeyChain chain(name);
    store_->LoadKeyChain(chain);
    return ItemsOf(chain);
  }
  // OnAnotherDevice stores the sample keychain |name| with another host
  // secret, in a key store of its own, and copies its files here.
  void StoreOnAnotherDevice(const std::string& name) {
    const std::string other = dir_ / "device2", home_secret = secret_;
    setenv("HEVO_PERSISTENT_STORAGE", other.c_str(), 1);
    UseSecret(dir_ / "device2-secret/host.secret");
    TZelKeyStore store;
    TZelKeyChain chain(name);
    FillKeyChain(chain, SampleItems(SampleVersion::kOld));
    EXPECT_TRUE(store.StoreKeyChain(chain));
    for (const std::string& file : ListDir(other + "/zel_keystore"))
      std::filesystem::copy_file(other + "/zel_keystore/" + file, keys_ + "/" + file);
    setenv("HEVO_PERSISTENT_STORAGE", root_.c_str(), 1);
    UseSecret(home_secret);
  }

  TempDir dir_;
  const std::string root_ = dir_ / "storage", keys_ = root_ + "/zel_keystore";
  std::string secret_;
  std::unique_ptr<TZelKeyStore> store_;
};

TEST_F(BoundStoreTest, ItemsRoundTripAndTheFirstStoreCreatesTheSecret) {
  EXPECT_STREQ(TZelDeviceBinding::GetMode(), "host");
  EXPECT_EQ(FileMode(secret_), 0u);
  ASSERT_TRUE(StoreSample());
  EXPECT_EQ(FileMode(secret_), 0400u);
  for (const auto& item : SampleItems(SampleVersion::kOld))  // sealed: 38 bytes more
    EXPECT_EQ(ReadFile(keys_ + "/dev" + item.first).size(),
              PKIWB_encrypt::get_padded_payload_size(static_cast<unsigned>(item.second.size()) + 38));
  EXPECT_EQ(Load(), SampleItems(SampleVersion::kOld));
  EXPECT_TRUE(BindingLines().empty());
  // What an unbound build throws, a bound one throws too.
  TZelKeyChain short_item("s");
  short_item.SetItem(".x", "short");
  EXPECT_THAT([&] { store_->StoreKeyChain(short_item); },
              Throws<const char*>(StrEq("ASSERTION FAILED: in_size != 0")));
  // The largest item whose sealed form still loads.
  THevoBlob largest, out;
  largest.GetContainer().resize(TZelSecureStore::MAX_ITEM_SIZE - 38 + 1);
  EXPECT_FALSE(TZelSecureStore::GetInstance().Encrypt(largest, out));
  WriteFile(keys_ + "/m.bad", std::string(20, 'x'));
  TZelKeyChain malformed("m");
  EXPECT_THAT([&] { store_->LoadKeyChain(malformed); },
              Throws<const char*>(StrEq("ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0")));
}

TEST_F(BoundStoreTest, FilesOfAnotherDeviceOrNameOrDamagedAreRefusedAndKept) {
  ASSERT_TRUE(StoreSample());
  std::filesystem::copy_file(keys_ + "/dev.key.enc", keys_ + "/copy.key.enc");
  std::string damaged = ReadFile(keys_ + "/dev.crt.enc");
  damaged[5] ^= 1;  // the first block: the padding stays valid
  WriteFile(keys_ + "/dmg.crt.enc", damaged);
  TakeLogRecords();
  const auto files = Files(keys_);

  EXPECT_TRUE(Load("copy").empty());  // another name
  EXPECT_TRUE(Load("dmg").empty());
  EXPECT_EQ(BindingLines(), (std::vector<std::pair<std::string, std::string>>{
                                Line(kOtherDevice, "copy.key.enc"), Line(kOtherDevice, "dmg.crt.enc")}));
  StoreOnAnotherDevice("other");  // its files moved here
  EXPECT_TRUE(Load("other").empty());
  const auto lines = BindingLines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], Line(kOtherDevice, "other.ca.crt.enc"));
  EXPECT_EQ(Load(), SampleItems(SampleVersion::kOld));
  for (const auto& file : files) EXPECT_EQ(ReadFile(keys_ + "/" + file.first), file.second);
}

TEST_F(BoundStoreTest, AMissingOrRefusedSecretStopsLoadsAndStores) {
  ASSERT_TRUE(StoreSample());
  const auto files = Files(keys_);
  const std::string elsewhere = dir_ / "moved.secret";
  ASSERT_EQ(rename(secret_.c_str(), elsewhere.c_str()), 0);
  // The process keeps what it read; another spelling of the path is
  // another setting, read again.
  const std::string home = secret_;
  UseSecret(dir_ / "storage-secret/./host.secret");
  EXPECT_TRUE(Load().empty());
  const auto missing = BindingLines();
  ASSERT_EQ(missing.size(), 4u);
  EXPECT_EQ(missing[0].first, kCannotLoad);
  EXPECT_THAT(missing[0].second, ::testing::HasSubstr("' is missing, and bound item files cannot be read without it."));
  EXPECT_EQ(FileMode(home), 0u);  // a load never creates it
  // Nor does a store while bound files exist: a new secret would orphan them.
  EXPECT_FALSE(StoreSample("new"));
  const auto orphaning = BindingLines();
  ASSERT_EQ(orphaning.size(), 4u);
  EXPECT_EQ(orphaning[0].first, kCannotStore);
  EXPECT_THAT(orphaning[0].second, ::testing::EndsWith(
      "' is missing while the bound item file 'dev.ca.crt.enc' exists; restore the secret, or "
      "remove the bound item files to start anew."));
  EXPECT_EQ(FileMode(home), 0u);
  EXPECT_EQ(Files(keys_), files);

  ASSERT_EQ(rename(elsewhere.c_str(), home.c_str()), 0);
  chmod(home.c_str(), 0600);
  UseSecret(dir_ / "storage-secret/././host.secret");
  EXPECT_FALSE(StoreSample("new"));
  const auto refused = BindingLines();
  ASSERT_EQ(refused.size(), 4u);
  EXPECT_EQ(refused[0].first, kCannotStore);
  EXPECT_THAT(refused[0].second, ::testing::EndsWith("' has mode 0600, not 0400."));
  EXPECT_EQ(Files(keys_), files);  // no item written, none changed
  EXPECT_EQ(FileMode(home), 0600u);
}

TEST_F(BoundStoreTest, MigrationBindsTheUnboundFilesOnly) {
  // An unbound build wrote the sample keychain.
  ASSERT_EQ(std::system((std::string(ZEL_TEST_EMULATOR " '" ZEL_UNBOUND_TOOL "' '") + root_ +
                         "' store old >/dev/null").c_str()), 0);
  const auto unbound = Files(keys_);
  ASSERT_EQ(unbound.size(), 4u);
  EXPECT_TRUE(Load().empty());
  const auto refused = BindingLines();
  ASSERT_EQ(refused.size(), 4u);
  EXPECT_EQ(refused[0], Line(kNotBound, "dev.ca.crt.enc"));
  EXPECT_EQ(FileMode(secret_), 0u);  // loads create no secret
  WriteFile(keys_ + "/bad.key.enc", std::string(20, 'x'));  // malformed

  TZelMigrationCounts counts;
  EXPECT_FALSE(TZelDeviceBinding::MigrateUnboundItems(counts));
  EXPECT_EQ(counts.migrated, 4u);
  EXPECT_EQ(counts.alreadyBound, 0u);
  EXPECT_EQ(counts.failed, 1u);
  EXPECT_EQ(FileMode(secret_), 0400u);  // the first migrated file created it
  EXPECT_EQ(Load(), SampleItems(SampleVersion::kOld));
  for (const auto& file : unbound) EXPECT_NE(ReadFile(keys_ + "/" + file.first), file.second);

  // Again, with files bound to another device and one of them damaged in
  // its first block (which must not pass for unbound): nothing changes.
  StoreOnAnotherDevice("other");
  std::string damaged = ReadFile(keys_ + "/other.key.enc");
  damaged[3] ^= 0x40;
  WriteFile(keys_ + "/damaged.key.enc", damaged);
  const auto before = Files(keys_);
  EXPECT_FALSE(TZelDeviceBinding::MigrateUnboundItems(counts));
  EXPECT_EQ(counts.migrated, 0u);
  EXPECT_EQ(counts.alreadyBound, 4u);
  EXPECT_EQ(counts.failed, 6u);
  EXPECT_EQ(Files(keys_), before);
}

}  // namespace
