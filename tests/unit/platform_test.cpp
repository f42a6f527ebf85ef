// The stand-ins for the maker's base and logging libraries: blob text
// form, device information, file storage, file utilities, the default
// logger.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "HevoFileUtils.h"
#include "THevoBlob.h"
#include "THevoDeviceInfo.h"
#include "temp_dir.h"
#include "zelLogging.h"

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

TEST(DeviceInfo, PersistentStorageComesFromTheEnvironment) {
  THevoDeviceInfo& info = THevoDeviceInfo::GetInstance();
  const std::pair<const char*, bool> cases[] = {{"/data/persist", true}, {"", false}, {nullptr, false}};
  for (const auto& c : cases) {
    if (c.first) setenv("HEVO_PERSISTENT_STORAGE", c.first, 1);
    else unsetenv("HEVO_PERSISTENT_STORAGE");
    std::string value = "before";
    EXPECT_EQ(info.GetInfo(THevoDeviceInfo::PERSISTENT_STORAGE, value), c.second);
    EXPECT_EQ(value, c.second ? c.first : "before");
  }
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

TEST(FileStore, AbandonedTemporaryOfADeadProcessIsRemoved) {
  TempDir dir;
  const pid_t child = fork();  // a process id that is certainly gone
  if (child == 0) _exit(0);
  waitpid(child, nullptr, 0);
  WriteFile(dir / (".hevo-tmp-" + std::to_string(child) + "-0"), "torn");
  const std::string live = ".hevo-tmp-" + std::to_string(getppid()) + "-0";
  WriteFile(dir / live, "still being written");
  ASSERT_TRUE(THevoBlob(std::string("x")).Store(dir / "item.enc"));
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

TEST(FileUtils, CreateDirectoryRecursiveExistsAndRemove) {
  TempDir dir;
  const std::string deep = dir / "one/two";
  EXPECT_FALSE(HevoFileUtils::Exists(deep));
  EXPECT_TRUE(HevoFileUtils::CreateDirectoryRecursive(deep, 0755));
  EXPECT_TRUE(HevoFileUtils::CreateDirectoryRecursive(deep, 0755));  // again
  EXPECT_TRUE(HevoFileUtils::Exists(deep));
  WriteFile(dir / "file", "x");
  EXPECT_FALSE(HevoFileUtils::CreateDirectoryRecursive(dir / "file/sub", 0755));
  EXPECT_TRUE(HevoFileUtils::Remove(dir / "file"));
  EXPECT_FALSE(HevoFileUtils::Remove(dir / "file"));
}

// The default logger writes errors, and traces only when ZEL_LOG_LEVEL asks
// (the test runs once with the default threshold and once with 6).
TEST(DefaultLogger, ShowsErrorsAndTracesOnlyWhenAsked) {
  TempDir dir;
  const int saved = dup(STDERR_FILENO);
  std::FILE* file = std::fopen((dir / "stderr").c_str(), "w");
  dup2(fileno(file), STDERR_FILENO);
  zelLogging_log(2, "[Tag] Can't do '%s'.", "this");
  zelLogging_log(6, "[%s:%d][%s]: trace %s", "file.cpp", 7, "Fn", "on");
  dup2(saved, STDERR_FILENO);
  close(saved);
  std::fclose(file);
  const char* level = std::getenv("ZEL_LOG_LEVEL");
  EXPECT_EQ(ReadFile(dir / "stderr"), std::string("<2> [Tag] Can't do 'this'.\n") +
                                          (level && atoi(level) >= 6 ? "<6> [file.cpp:7][Fn]: trace on\n" : ""));
}

}  // namespace
