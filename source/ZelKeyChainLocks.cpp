// ZelKeyChainLocks.cpp: see ZelKeyChainLocks.h.
#include "ZelKeyChainLocks.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstdint>

namespace {

// OffsetOf hashes a key (FNV-1a) to a byte offset below 2^31, which every
// file system and a 32-bit emulator take; offset 0 is left unused.
off_t OffsetOf(const std::string& key) {
  uint32_t hash = 2166136261u;
  for (const char c : key) hash = (hash ^ static_cast<uint8_t>(c)) * 16777619u;
  return static_cast<off_t>(1 + hash % 0x7ffffffeu);
}

int OpenLockFile(int dir_fd, bool& writable) {
  const int flags = O_CLOEXEC | O_NOFOLLOW;
  int fd = openat(dir_fd, ZelKeyChainLocks::kFileName, O_RDWR | O_CREAT | flags, 0600);
  writable = fd >= 0;
  if (fd < 0) fd = openat(dir_fd, ZelKeyChainLocks::kFileName, O_RDONLY | flags);
  return fd;
}

}  // namespace

ZelKeyChainLocks::ZelKeyChainLocks(int dir_fd) : file_(-1) {
  if (dir_fd >= 0) file_.Reset(OpenLockFile(dir_fd, writable_));
}

bool ZelKeyChainLocks::LockRange(off_t offset, short type) {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = offset;
  range.l_len = 1;
  int result;
  do {
    result = fcntl(file_.Get(), F_OFD_SETLKW, &range);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

void ZelKeyChainLocks::Lock(const std::set<std::string>& keys) {
  if (!file_.IsOpen()) return;
  if (!whole_file_) {
    std::set<off_t> offsets;  // ordered: the order every caller locks in
    for (const std::string& key : keys) offsets.insert(OffsetOf(key));
    for (const off_t offset : offsets) {
      if (held_.count(offset)) continue;
      if (LockRange(offset, writable_ ? F_WRLCK : F_RDLCK)) {
        held_.insert(offset);
      } else if (errno == EINVAL) {
        // A kernel (or emulator) without byte-range locks of the open
        // file: one lock on the whole file serves every key.
        UnlockAll();
        whole_file_ = true;
        break;
      }
    }
  }
  if (whole_file_ && held_.empty()) {
    int result;
    do {
      result = flock(file_.Get(), writable_ ? LOCK_EX : LOCK_SH);
    } while (result != 0 && errno == EINTR);
    if (result == 0) held_.insert(0);
  }
}

void ZelKeyChainLocks::UnlockAll() {
  if (whole_file_ && !held_.empty()) {
    flock(file_.Get(), LOCK_UN);
  } else {
    for (const off_t offset : held_) LockRange(offset, F_UNLCK);
  }
  held_.clear();
}
