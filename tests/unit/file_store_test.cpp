// Blob file storage: load and store, their failures, and the crash safety
// of Store.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "HevoFileUtils.h"
#include "THevoBlob.h"
#include "temp_dir.h"

namespace {

std::string BlobText(const THevoBlob& blob) {
  return std::string(blob.GetContainer().begin(), blob.GetContainer().end());
}

TEST(FileStore, StoreThenLoadGivesTheBytesBackWithMode0600) {
  TempDir dir;
  for (const std::string& bytes :
       {std::string("first content"), std::string(70000, '\x5a'),
        std::string("\0\1\2", 3), std::string()}) {
    ASSERT_TRUE(THevoBlob(bytes).Store(dir / "item.enc"));
    EXPECT_EQ(ReadFile(dir / "item.enc"), bytes);
    THevoBlob loaded(std::string("old"));
    ASSERT_TRUE(loaded.Load(dir / "item.enc"));
    EXPECT_EQ(BlobText(loaded), bytes);  // an empty file reads as empty
  }
  EXPECT_EQ(FileMode(dir / "item.enc"), 0600u);
  EXPECT_EQ(ListDir(dir.path()), std::set<std::string>{"item.enc"});
}

TEST(FileStore, RelativePathIsStoredInTheWorkingDirectory) {
  TempDir dir;
  char previous[4096];
  ASSERT_NE(getcwd(previous, sizeof previous), nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  const bool stored = THevoBlob(std::string("here")).Store("relative.enc");
  ASSERT_EQ(chdir(previous), 0);
  EXPECT_TRUE(stored);
  EXPECT_EQ(ReadFile(dir / "relative.enc"), "here");
}

TEST(FileStore, FailuresReturnFalseAndChangeNothing) {
  TempDir dir;
  WriteFile(dir / "file", "in the way");
  mkdir((dir / "subdir").c_str(), 0700);
  symlink("file", (dir / "link").c_str());
  const std::set<std::string> before = ListDir(dir.path());

  const THevoBlob blob(std::string("new bytes"));
  EXPECT_FALSE(blob.Store(dir / "missing/item.enc"));  // no such directory
  EXPECT_FALSE(blob.Store(dir / "file/item.enc"));     // a file in the way
  EXPECT_FALSE(blob.Store(dir / "subdir"));            // a directory in the way
  EXPECT_FALSE(blob.Store(dir.path() + "/"));          // no file name

  THevoBlob loaded(std::string("untouched"));
  EXPECT_FALSE(loaded.Load(dir / "absent.enc"));
  EXPECT_FALSE(loaded.Load(dir / "subdir"));
  EXPECT_FALSE(loaded.Load(dir / "link"));  // links are not followed
  EXPECT_EQ(BlobText(loaded), "untouched");

  EXPECT_EQ(ListDir(dir.path()), before);  // no temporary left behind
  EXPECT_EQ(ReadFile(dir / "file"), "in the way");
}

TEST(FileStore, ReadOnlyDirectoryRefusesAndKeepsTheOldFile) {
  TempDir dir;
  WriteFile(dir / "item.enc", "old");
  ReadOnlyBind read_only(dir.path());
  if (!read_only.Ok()) GTEST_SKIP() << "cannot bind-mount read-only here (needs root)";
  EXPECT_FALSE(THevoBlob(std::string("new")).Store(dir / "item.enc"));
  EXPECT_EQ(ReadFile(dir / "item.enc"), "old");
  THevoBlob loaded;
  EXPECT_TRUE(loaded.Load(dir / "item.enc"));
}

TEST(FileStore, AbandonedTemporaryOfADeadProcessIsRemoved) {
  TempDir dir;
  // A child that exits at once gives a process id that is certainly gone.
  const pid_t child = fork();
  if (child == 0) _exit(0);
  waitpid(child, nullptr, 0);
  const std::string stale = ".hevo-tmp-" + std::to_string(child) + "-0";
  WriteFile(dir / stale, "torn");
  const std::string live = ".hevo-tmp-" + std::to_string(getppid()) + "-0";
  WriteFile(dir / live, "still being written");
  // A live writer holds the lock on its temporary.
  const int writer = open((dir / live).c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(writer, LOCK_EX), 0);

  ASSERT_TRUE(THevoBlob(std::string("x")).Store(dir / "item.enc"));
  EXPECT_EQ(ListDir(dir.path()), (std::set<std::string>{live, "item.enc"}));
  close(writer);
}

// A writer killed at random points while replacing a file: afterwards the
// file holds the old or the new content, whole, and no listing shows a
// temporary.
TEST(FileStore, WriterKilledPartWayLeavesOldOrNewContent) {
  TempDir dir;
  const std::string path = dir / "item.enc";
  const std::string contents[2] = {std::string(256 * 1024, 'A'),
                                   std::string(300 * 1024, 'B')};
  ASSERT_TRUE(THevoBlob(contents[0]).Store(path));

  std::mt19937 random(20261122);
  std::uniform_int_distribution<int> delay_us(0, 20000);
  for (int round = 0; round < 25; ++round) {
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      for (unsigned i = 0;; ++i) THevoBlob(contents[i % 2]).Store(path);
    }
    usleep(static_cast<useconds_t>(delay_us(random)));
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);

    const std::string now = ReadFile(path);
    ASSERT_TRUE(now == contents[0] || now == contents[1])
        << "torn file of " << now.size() << " bytes in round " << round;
    std::set<std::string> listed;
    ASSERT_TRUE(HevoFileUtils::GetFiles(dir.path(), listed));
    EXPECT_EQ(listed, std::set<std::string>{"item.enc"});
  }
  // The next store clears whatever the killed writers left behind.
  ASSERT_TRUE(THevoBlob(contents[0]).Store(path));
  EXPECT_EQ(ListDir(dir.path()), std::set<std::string>{"item.enc"});
}

}  // namespace
