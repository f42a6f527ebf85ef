// The stand-ins for the maker's base library, where the key store relies
// on them: blob text form, file storage, directory listings, base names.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "HevoFileUtils.h"
#include "THevoBlob.h"
#include "temp_dir.h"

namespace {

std::string Text(const THevoBlob& blob) {
  return std::string(blob.GetContainer().begin(), blob.GetContainer().end());
}

TEST(Blob, ToStringIsOneLine) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"-----BEGIN KEY-----\nAbC=\n", "-----BEGIN KEY-----\\nAbC=\\n"},
      {std::string("\\\t\r\0\x7f\x80\xff", 7), "\\\\\\t\\r\\x00\\x7f\\x80\\xff"}};
  for (const auto& c : cases) EXPECT_EQ(THevoBlob(c.first).ToString(), c.second);
}

TEST(FileStore, StoreThenLoadGivesTheBytesBackWithMode0600) {
  TempDir dir;
  for (const std::string& bytes : {std::string("first"), std::string(70000, 'Z'), std::string()}) {
    ASSERT_TRUE(THevoBlob(bytes).Store(dir / "item.enc"));
    THevoBlob loaded(std::string("old"));
    ASSERT_TRUE(loaded.Load(dir / "item.enc"));
    EXPECT_EQ(Text(loaded), bytes);
  }
  EXPECT_EQ(FileMode(dir / "item.enc"), 0600u);
  EXPECT_EQ(ListDir(dir.path()), std::set<std::string>{"item.enc"});
}

TEST(FileStore, FailuresReturnFalseAndChangeNothing) {
  TempDir dir;
  WriteFile(dir / "file", "in the way");
  mkdir((dir / "subdir").c_str(), 0700);
  symlink("file", (dir / "link").c_str());
  const std::set<std::string> before = ListDir(dir.path());
  for (const char* target : {"missing/item.enc", "file/item.enc", "subdir", ""})
    EXPECT_FALSE(THevoBlob(std::string("new")).Store(dir / target)) << target;
  THevoBlob loaded(std::string("untouched"));
  for (const char* source : {"absent.enc", "subdir", "link"})  // links are not followed
    EXPECT_FALSE(loaded.Load(dir / source)) << source;
  EXPECT_EQ(Text(loaded), "untouched");
  EXPECT_EQ(ListDir(dir.path()), before);  // no temporary left behind
  EXPECT_EQ(ReadFile(dir / "file"), "in the way");
}

TEST(FileStore, AbandonedTemporaryIsRemovedLockedOneKept) {
  TempDir dir;
  WriteFile(dir / ".hevo-tmp-1-0", "torn");  // nobody holds its lock
  const std::string live = ".hevo-tmp-2-0";
  WriteFile(dir / live, "still being written");
  const int writer = open((dir / live).c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(writer, LOCK_EX), 0);
  ASSERT_TRUE(THevoBlob(std::string("x")).Store(dir / "item.enc"));
  close(writer);
  EXPECT_EQ(ListDir(dir.path()), (std::set<std::string>{live, "item.enc"}));
}

TEST(FileUtils, GetFileBaseNameStopsAtTheFirstDot) {
  const std::pair<std::string, std::string> cases[] = {
      {"device.ca.crt.enc", "device"}, {"plain", "plain"}, {".key.enc", ""}, {"", ""}};
  for (const auto& c : cases) EXPECT_EQ(HevoFileUtils::GetFileBaseName(c.first), c.second) << c.first;
}

TEST(FileUtils, GetFilesListsRegularFilesButNoTemporaries) {
  TempDir dir;
  for (const char* name : {"a.key.enc", ".crt.enc", ".hevo-tmp-1-0"}) WriteFile(dir / name, "x");
  mkdir((dir / "sub").c_str(), 0700);
  symlink("a.key.enc", (dir / "link.enc").c_str());
  std::set<std::string> names = {"kept"};
  ASSERT_TRUE(HevoFileUtils::GetFiles(dir.path(), names));
  EXPECT_EQ(names, (std::set<std::string>{".crt.enc", "a.key.enc", "kept"}));
  EXPECT_FALSE(HevoFileUtils::GetFiles(dir / "missing", names));
  EXPECT_EQ(names.size(), 3u);
}

}  // namespace
