// HevoTempFiles.cpp: see HevoTempFiles.h.
#include "HevoTempFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <atomic>
#include <cstring>
#include <memory>

#include "HevoFileDescriptor.h"

namespace HevoTempFiles {
namespace {

std::atomic<unsigned long> g_counter{0};

struct DirCloser {
  void operator()(DIR* dir) const { closedir(dir); }
};

// Identity of |name| in |dir_fd| against the file open as |fd|.
enum class NameIs { kThatFile, kGoneOrOther, kUnknown };

NameIs CompareName(int dir_fd, const char* name, int fd) {
  struct stat by_name, by_fd;
  if (fstatat(dir_fd, name, &by_name, AT_SYMLINK_NOFOLLOW) != 0)
    return errno == ENOENT ? NameIs::kGoneOrOther : NameIs::kUnknown;
  if (fstat(fd, &by_fd) != 0) return NameIs::kUnknown;
  return by_name.st_dev == by_fd.st_dev && by_name.st_ino == by_fd.st_ino
             ? NameIs::kThatFile
             : NameIs::kGoneOrOther;
}

}  // namespace

bool IsWriterTemporaryName(const char* name) {
  const size_t prefix = sizeof(kPrefix) - 1;
  return std::strncmp(name, kPrefix, prefix) == 0 && name[prefix] >= '0' &&
         name[prefix] <= '9';
}

std::string NewTemporaryName() {
  return std::string(kPrefix) + std::to_string(getpid()) + "-" +
         std::to_string(g_counter.fetch_add(1));
}

int CreateLocked(int dir_fd, std::string& name) {
  // A few rounds are plenty: each loses only to a concurrent RemoveAbandoned
  // that caught the file in the moment before it was locked.
  for (int round = 0; round < 8; ++round) {
    name = NewTemporaryName();
    HevoFileDescriptor file(openat(dir_fd, name.c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                                   0600));
    if (!file.IsOpen()) return -1;
    // Losing the lock, or the name, to a concurrent RemoveAbandoned that
    // caught the file before it was locked means another round: the remover
    // unlinks it. Any other failure gives up, and removes what was created.
    if (flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno == EWOULDBLOCK) continue;
      unlinkat(dir_fd, name.c_str(), 0);
      return -1;
    }
    const NameIs state = CompareName(dir_fd, name.c_str(), file.Get());
    if (state == NameIs::kGoneOrOther) continue;
    if (state == NameIs::kUnknown) {
      unlinkat(dir_fd, name.c_str(), 0);
      return -1;
    }
    if (fchmod(file.Get(), 0600) != 0) {
      unlinkat(dir_fd, name.c_str(), 0);
      return -1;
    }
    const int fd = file.Get();
    file.Release();
    return fd;
  }
  return -1;
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
    if (!IsWriterTemporaryName(entry->d_name)) continue;
    const HevoFileDescriptor file(openat(
        dir_fd, entry->d_name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    // Locked by us, it is abandoned; still under its name, it is the file
    // we locked (its writer may have renamed it and finished meanwhile).
    if (file.IsOpen() && flock(file.Get(), LOCK_EX | LOCK_NB) == 0 &&
        CompareName(dir_fd, entry->d_name, file.Get()) == NameIs::kThatFile)
      unlinkat(dir_fd, entry->d_name, 0);
  }
}

}  // namespace HevoTempFiles
