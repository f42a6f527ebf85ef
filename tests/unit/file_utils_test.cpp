// File utilities: existence, directory creation, listing, base names,
// removal.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "HevoFileUtils.h"
#include "temp_dir.h"

namespace {

TEST(FileUtils, GetFileBaseNameStopsAtTheFirstDot) {
  const std::pair<std::string, std::string> cases[] = {
      {"device.pem.enc", "device"}, {"device.ca.crt.enc", "device"},
      {"plain", "plain"},           {".key.enc", ""},
      {"", ""},                     {"a.b.pem.enc", "a"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(HevoFileUtils::GetFileBaseName(c.first), c.second) << c.first;
}

TEST(FileUtils, GetFilesListsRegularFilesOnlyHiddenIncluded) {
  TempDir dir;
  WriteFile(dir / "a.key.enc", "x");
  WriteFile(dir / ".crt.enc", "x");
  WriteFile(dir / ".hevo-tmp-1-0", "a temporary");  // never listed
  mkdir((dir / "sub").c_str(), 0700);
  symlink("a.key.enc", (dir / "link.enc").c_str());

  std::set<std::string> names = {"kept"};
  ASSERT_TRUE(HevoFileUtils::GetFiles(dir.path(), names));
  EXPECT_EQ(names, (std::set<std::string>{".crt.enc", "a.key.enc", "kept"}));

  std::set<std::string> untouched = {"kept"};
  EXPECT_FALSE(HevoFileUtils::GetFiles(dir / "missing", untouched));
  EXPECT_FALSE(HevoFileUtils::GetFiles(dir / "a.key.enc", untouched));
  EXPECT_EQ(untouched, std::set<std::string>{"kept"});
}

TEST(FileUtils, CreateDirectoryRecursiveExistsAndRemove) {
  TempDir dir;
  const std::string deep = dir / "one/two/three";
  EXPECT_FALSE(HevoFileUtils::Exists(deep));
  EXPECT_TRUE(HevoFileUtils::CreateDirectoryRecursive(deep, 0755));
  EXPECT_TRUE(HevoFileUtils::Exists(deep));
  EXPECT_EQ(FileMode(dir / "one") & 0700, 0700u);
  EXPECT_TRUE(HevoFileUtils::CreateDirectoryRecursive(deep, 0755));  // again

  WriteFile(dir / "file", "x");
  EXPECT_FALSE(HevoFileUtils::CreateDirectoryRecursive(dir / "file/sub", 0755));

  symlink("nowhere", (dir / "dangling").c_str());
  EXPECT_TRUE(HevoFileUtils::Exists(dir / "dangling"));

  EXPECT_TRUE(HevoFileUtils::Remove(dir / "file"));
  EXPECT_FALSE(HevoFileUtils::Exists(dir / "file"));
  EXPECT_FALSE(HevoFileUtils::Remove(dir / "file"));
}

}  // namespace
