// A file system that is full, or nearly: the items that do not fit fail
// with a log line, keep their old bytes, and leave no temporary behind;
// the items that fit are replaced.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "key_store_checks.h"
#include "temp_dir.h"

namespace {

constexpr long kPage = 4096;  // a small tmpfs charges whole pages

// Unmount detaches the tmpfs mounted on |dir| when the test is done.
struct Unmount {
  std::string dir;
  ~Unmount() { umount2(dir.c_str(), MNT_DETACH); }
};

// FillLeaving writes |path| until the file system is full, then gives back
// |free_pages| pages. False when the file system never filled up.
bool FillLeaving(const std::string& path, long free_pages) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const std::vector<char> page(kPage, 'f');
  long pages = 0;
  ssize_t written;
  while ((written = write(fd, page.data(), page.size())) == kPage) ++pages;
  const bool full = written < 0 && errno == ENOSPC &&
                    ftruncate(fd, (pages - free_pages) * kPage) == 0;
  close(fd);
  return full;
}

TEST(FullFileSystem, ItemsThatDoNotFitKeepTheirOldBytes) {
  // The new version's certificate item needs two pages, every other item
  // one. A replaced item gives its old page back once renamed over, so one
  // free page lets every item through but that certificate.
  const struct {
    long free_pages;
    bool result;  // the last item's, ".pem.enc"
    std::vector<std::string> failed;
  } rows[] = {
      {0, false, {".ca.crt.enc", ".crt.enc", ".key.enc", ".pem.enc"}},
      {1, true, {".crt.enc"}},
      {2, true, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.free_pages) + " free pages");
    TempDir root;
    if (mount("tmpfs", root.path().c_str(), "tmpfs", 0, "size=64k") != 0)
      GTEST_SKIP() << "cannot mount a tmpfs here (needs root): " << strerror(errno);
    const Unmount unmount{root.path()};
    KeyStoreAt keys(root.path());
    ASSERT_TRUE(keys.StoreSample(SampleVersion::kOld));
    const std::set<std::string> files = ListDir(keys.dir());
    ASSERT_TRUE(FillLeaving(root / "filler", row.free_pages));
    TakeLogRecords();

    EXPECT_EQ(keys.StoreSample(SampleVersion::kNew), row.result);
    std::vector<std::string> lines;
    for (const std::string& id : row.failed)
      lines.push_back("[TZelKeyStore] Can't encrypt/store keychain data for '" + id + "'.");
    EXPECT_EQ(ErrorLines(), lines);

    auto expected = AllItems("new");
    for (const std::string& id : row.failed) expected[id] = "old";
    EXPECT_EQ(keys.HeldVersions(), expected);
    EXPECT_EQ(ListDir(keys.dir()), files);  // no temporary left
  }
}

}  // namespace
