// A key-store directory that has become read-only (a file system remounted
// read-only after errors): storing and erasing fail item by item with log
// lines, the files stay as they were, and loading still works.
#include <gtest/gtest.h>

#include "key_store_checks.h"
#include "temp_dir.h"

namespace {

TEST(ReadOnlyDirectory, WritesFailReadsWork) {
  TempDir root;
  KeyStoreAt keys(root.path());
  ASSERT_TRUE(keys.StoreSample(SampleVersion::kOld));
  const std::set<std::string> files = ListDir(keys.dir());
  // Permission bits do not stop root; a read-only bind mount stops everyone.
  ReadOnlyBind read_only(keys.dir());
  if (!read_only.Ok()) GTEST_SKIP() << "cannot bind-mount read-only here (needs root)";
  TakeLogRecords();

  EXPECT_FALSE(keys.StoreSample(SampleVersion::kNew));
  EXPECT_EQ(ErrorLines(), ErrorLinesFor("[TZelKeyStore] Can't encrypt/store keychain data for '%s'."));
  EXPECT_EQ(keys.HeldVersions(), AllItems("old"));
  EXPECT_EQ(ErrorLines(), std::vector<std::string>());

  TZelKeyChain loaded("dev");
  ASSERT_TRUE(keys.store().LoadKeyChain(loaded));
  EXPECT_FALSE(keys.store().EraseKeyChain(loaded));
  EXPECT_TRUE(loaded.GetContainer().empty());  // emptied all the same
  EXPECT_EQ(ErrorLines(), ErrorLinesFor("[TZelKeyStore] Can't remove keychain data for '%s'."));
  EXPECT_EQ(ListDir(keys.dir()), files);
}

}  // namespace
