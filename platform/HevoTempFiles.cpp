// HevoTempFiles.cpp: see HevoTempFiles.h.
#include "HevoTempFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <memory>

#include "HevoFileDescriptor.h"

namespace HevoTempFiles {
namespace {

std::atomic<unsigned long> g_counter{0};

struct DirCloser {
  void operator()(DIR* dir) const { closedir(dir); }
};

// IsAbandoned tells whether the temporary open as |fd| is finished (mode
// 0600, see CreateLocked) and unlocked, and takes the lock if so.
bool IsAbandoned(int fd) {
  struct stat info;
  return fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
         (info.st_mode & 07777) != 0 && flock(fd, LOCK_EX | LOCK_NB) == 0;
}

// SameFile tells whether |name| in |dir_fd| still is the file open as |fd|.
bool SameFile(int dir_fd, const char* name, int fd) {
  struct stat by_name, by_fd;
  return fstatat(dir_fd, name, &by_name, AT_SYMLINK_NOFOLLOW) == 0 &&
         fstat(fd, &by_fd) == 0 && by_name.st_dev == by_fd.st_dev &&
         by_name.st_ino == by_fd.st_ino;
}

}  // namespace

std::string NewTemporaryName() {
  return std::string(kPrefix) + std::to_string(getpid()) + "-" +
         std::to_string(g_counter.fetch_add(1));
}

int CreateLocked(int dir_fd, const std::string& name) {
  HevoFileDescriptor file(openat(
      dir_fd, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0));
  if (!file.IsOpen()) return -1;
  if (flock(file.Get(), LOCK_EX) != 0 || fchmod(file.Get(), 0600) != 0) {
    unlinkat(dir_fd, name.c_str(), 0);
    return -1;
  }
  const int fd = file.Get();
  file.Release();
  return fd;
}

void RemoveAbandoned(int dir_fd) {
  // A descriptor of its own: closedir closes the one that fdopendir takes.
  const int list_fd = openat(dir_fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (list_fd < 0) return;
  std::unique_ptr<DIR, DirCloser> stream(fdopendir(list_fd));
  if (!stream) {
    close(list_fd);
    return;
  }
  while (const dirent* entry = readdir(stream.get())) {
    if (!IsTemporaryName(entry->d_name)) continue;
    const HevoFileDescriptor file(openat(
        dir_fd, entry->d_name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file.IsOpen() && IsAbandoned(file.Get()) &&
        SameFile(dir_fd, entry->d_name, file.Get()))
      unlinkat(dir_fd, entry->d_name, 0);
  }
}

}  // namespace HevoTempFiles
