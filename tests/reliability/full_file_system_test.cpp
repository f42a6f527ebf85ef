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

// TmpfsMount mounts a tmpfs of |size| on |dir| and unmounts it when done.
class TmpfsMount {
 public:
  TmpfsMount(const std::string& dir, const std::string& size) : dir_(dir) {
    mounted_ = mount("tmpfs", dir.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
    error_ = errno;
  }
  ~TmpfsMount() {
    if (mounted_) umount2(dir_.c_str(), MNT_DETACH);
  }
  TmpfsMount(const TmpfsMount&) = delete;
  TmpfsMount& operator=(const TmpfsMount&) = delete;
  bool Ok() const { return mounted_; }
  int Error() const { return error_; }

 private:
  std::string dir_;
  bool mounted_ = false;
  int error_ = 0;
};

// FillLeaving writes |path| until the file system is full, then gives back
// |free_pages| pages. False when the file system never filled up.
bool FillLeaving(const std::string& path, long free_pages) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  const std::vector<char> page(kPage, 'f');
  long written = 0;
  int error = 0;
  for (;;) {
    const ssize_t n = write(fd, page.data(), page.size());
    if (n <= 0) {
      error = errno;
      break;
    }
    written += n;
  }
  const bool full = error == ENOSPC &&
                    ftruncate(fd, (written / kPage - free_pages) * kPage) == 0;
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
    TmpfsMount tmpfs(root.path(), "64k");
    if (!tmpfs.Ok())
      GTEST_SKIP() << "cannot mount a tmpfs here (needs root): " << strerror(tmpfs.Error());
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
