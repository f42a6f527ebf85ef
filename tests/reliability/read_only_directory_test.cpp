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
  ASSERT_TRUE(keys.StoreSample("dev", SampleVersion::kOld));
  const std::set<std::string> files = ListDir(keys.dir());
  // Permission bits do not stop root; a read-only bind mount stops everyone.
  ReadOnlyBind read_only(keys.dir());
  if (!read_only.Ok()) GTEST_SKIP() << "cannot bind-mount read-only here (needs root)";
  TakeLogRecords();

  // Replacing the items of a stored keychain and storing a new one.
  for (const std::string name : {"dev", "fresh"}) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(keys.StoreSample(name, SampleVersion::kNew));
    std::vector<LogRecord> lines;
    for (const auto& item : SampleItems(SampleVersion::kNew))
      lines.push_back(StoreErrorLine(item.first));
    EXPECT_EQ(ErrorRecords(), lines);
  }
  EXPECT_EQ(ListDir(keys.dir()), files);
  EXPECT_EQ(keys.HeldVersions("dev"), AllItems("old"));
  EXPECT_EQ(ErrorRecords(), std::vector<LogRecord>());

  TZelKeyChain loaded("dev");
  ASSERT_TRUE(keys.store().LoadKeyChain(loaded));
  EXPECT_FALSE(keys.store().EraseKeyChain(loaded));
  EXPECT_TRUE(loaded.GetContainer().empty());  // emptied all the same
  std::vector<LogRecord> lines;
  for (const auto& item : SampleItems(SampleVersion::kOld))
    lines.push_back(RemoveErrorLine(item.first));
  EXPECT_EQ(ErrorRecords(), lines);
  EXPECT_EQ(ListDir(keys.dir()), files);
}

}  // namespace
