// ZelKeyChainChange.cpp: see ZelKeyChainChange.h.
#include "ZelKeyChainChange.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>

#include "HevoFileIo.h"
#include "HevoFileUtils.h"
#include "HevoTempFiles.h"

namespace {

constexpr char kPreparedPrefix[] = ".hevo-tmp-new-";
constexpr char kStorePrefix[] = ".hevo-tmp-put-";
constexpr char kErasePrefix[] = ".hevo-tmp-del-";
// The change directories' names start with the base library's prefix, so
// that no listing of item files shows them and no load reads them.
constexpr bool StartsWithTemporaryPrefix(const char* name) {
  for (const char* p = HevoTempFiles::kPrefix; *p != '\0'; ++p, ++name)
    if (*p != *name) return false;
  return true;
}
static_assert(StartsWithTemporaryPrefix(kPreparedPrefix) &&
                  StartsWithTemporaryPrefix(kStorePrefix) &&
                  StartsWithTemporaryPrefix(kErasePrefix),
              "a change directory would be listed as an item file");
constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::atomic<unsigned long> g_counter{0};

bool StartsWith(const std::string& name, const char* prefix) {
  return name.compare(0, std::strlen(prefix), prefix) == 0;
}

// NamesIn lists the directory open as |fd| into |names|, sorted, without
// "." and ".."; false when it cannot be listed.
bool NamesIn(int fd, std::vector<std::string>& names) {
  names.clear();
  const int list_fd = openat(fd, ".", kDirectoryFlags);
  if (list_fd < 0) return false;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(list_fd), closedir);
  if (stream == nullptr) {
    close(list_fd);
    return false;
  }
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(stream.get());
    if (entry == nullptr) break;
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  const bool listed = errno == 0;
  std::sort(names.begin(), names.end());
  return listed;
}

// IsStill tells whether |name| in |dir_fd| is still the directory open as
// |fd| (it may have been removed or renamed since it was opened).
bool IsStill(int dir_fd, const std::string& name, int fd) {
  struct stat by_name, by_fd;
  return fstatat(dir_fd, name.c_str(), &by_name, AT_SYMLINK_NOFOLLOW) == 0 &&
         fstat(fd, &by_fd) == 0 && by_name.st_dev == by_fd.st_dev &&
         by_name.st_ino == by_fd.st_ino;
}

// RemoveChangeDirectory removes the change directory |name|, open as |fd|,
// with the files a listing finds, or |known| when it cannot be listed.
void RemoveChangeDirectory(int dir_fd, const std::string& name, int fd,
                           const std::vector<std::string>& known) {
  std::vector<std::string> found;
  if (!NamesIn(fd, found)) found.insert(found.end(), known.begin(), known.end());
  for (const std::string& entry : found) unlinkat(fd, entry.c_str(), 0);
  unlinkat(dir_fd, name.c_str(), AT_REMOVEDIR);
}

// FinishCommitted does the work of the committed change |name|, open as
// |fd|, whose files are |entries|, and removes it; names that it could not
// change, or not durably, go to |failed|. Done again after a crash part
// way, it gives the same key store: a file already moved into place is no
// longer in the change, an item file already removed is missing.
void FinishCommitted(int dir_fd, const std::string& name, int fd,
                     const std::vector<std::string>& entries,
                     std::set<std::string>& failed) {
  const bool store = StartsWith(name, kStorePrefix);
  for (const std::string& entry : entries) {
    const char* item = entry.c_str();
    if (store && renameat(fd, item, dir_fd, item) != 0) {
      failed.insert(entry);  // the item file keeps its old content
      unlinkat(fd, item, 0);
    } else if (!store && unlinkat(dir_fd, item, 0) != 0 && errno != ENOENT) {
      failed.insert(entry);
    }
  }
  // The renames and removals become durable before the change that
  // records them is removed: a change found again redoes them, a change
  // lost with them undone would leave a keychain half changed. An erase
  // changed nothing in its change directory since the commit synced it.
  if (!HevoFileIo::SyncRetrying(dir_fd) || (store && !HevoFileIo::SyncRetrying(fd)))
    failed.insert(entries.begin(), entries.end());
  RemoveChangeDirectory(dir_fd, name, fd, store ? std::vector<std::string>() : entries);
}

}  // namespace

ZelKeyChainChange::ZelKeyChainChange(int dir_fd, Kind kind)
    : dir_fd_(dir_fd), kind_(kind), prepared_(-1) {}

ZelKeyChainChange::~ZelKeyChainChange() { RemovePrepared(); }

bool ZelKeyChainChange::Open() {
  if (prepared_.IsOpen()) return true;
  if (dir_fd_ < 0) return false;
  // What killed writers left, as a store of one file does before it writes.
  HevoTempFiles::RemoveAbandoned(dir_fd_);
  // Another call's scan may take the new directory for a dead writer's in
  // the moment before it is locked, and remove it: then another round.
  for (int round = 0; round < 8; ++round) {
    const std::string name = kPreparedPrefix + std::to_string(getpid()) + "-" +
                             std::to_string(g_counter.fetch_add(1));
    if (mkdirat(dir_fd_, name.c_str(), 0700) != 0) {
      if (errno == EEXIST) continue;
      return false;
    }
    HevoFileDescriptor fd(openat(dir_fd_, name.c_str(), kDirectoryFlags));
    if (!fd.IsOpen()) continue;
    if (flock(fd.Get(), LOCK_EX | LOCK_NB) != 0 || !IsStill(dir_fd_, name, fd.Get()))
      continue;
    prepared_.Reset(fd.Get());
    fd.Release();
    prepared_name_ = name;
    return true;
  }
  return false;
}

namespace {

enum class Written { kOk, kNoSpace, kFailed };

// WriteSynced writes a new file |name| in the directory |dir_fd| with mode
// 0600 (whatever the umask) and syncs it; on failure nothing is left.
Written WriteSynced(int dir_fd, const std::string& name, const uint8_t* data, size_t size) {
  HevoFileDescriptor file(openat(dir_fd, name.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file.IsOpen()) return errno == ENOSPC || errno == EDQUOT ? Written::kNoSpace : Written::kFailed;
  if (fchmod(file.Get(), 0600) == 0 && HevoFileIo::WriteAll(file.Get(), data, size) &&
      HevoFileIo::SyncRetrying(file.Get()) && file.Close())
    return Written::kOk;
  const int error = errno;
  file.Close();
  unlinkat(dir_fd, name.c_str(), 0);
  return error == ENOSPC || error == EDQUOT ? Written::kNoSpace : Written::kFailed;
}

}  // namespace

bool ZelKeyChainChange::Put(const std::string& name, const uint8_t* data, size_t size) {
  if (!Open()) return false;
  Written written = WriteSynced(prepared_.Get(), name, data, size);
  // The item files it replaces hold space that a commit gives back.
  if (written == Written::kNoSpace && !names_.empty()) {
    CommitPrepared();
    if (Open()) written = WriteSynced(prepared_.Get(), name, data, size);
  }
  if (written != Written::kOk) return false;
  names_.push_back(name);
  return true;
}

bool ZelKeyChainChange::Remove(const std::string& name) {
  if (!Open()) return false;
  HevoFileDescriptor mark(openat(prepared_.Get(), name.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!mark.IsOpen()) return false;
  if (!mark.Close()) {
    unlinkat(prepared_.Get(), name.c_str(), 0);
    return false;
  }
  names_.push_back(name);
  return true;
}

std::set<std::string> ZelKeyChainChange::Commit() {
  if (prepared_.IsOpen()) CommitPrepared();
  std::set<std::string> failed;
  failed.swap(failed_);
  return failed;
}

bool ZelKeyChainChange::CommitPrepared() {
  if (names_.empty()) {
    RemovePrepared();
    return true;
  }
  const std::string committed =
      (kind_ == Kind::kStore ? kStorePrefix : kErasePrefix) +
      prepared_name_.substr(sizeof kPreparedPrefix - 1);
  // The prepared files, then the commit, each durable before what follows.
  if (!HevoFileIo::SyncRetrying(prepared_.Get()) ||
      renameat(dir_fd_, prepared_name_.c_str(), dir_fd_, committed.c_str()) != 0) {
    failed_.insert(names_.begin(), names_.end());
    RemovePrepared();
    return false;
  }
  if (!HevoFileIo::SyncRetrying(dir_fd_)) {
    // Not known to be committed: undone while nothing of it shows, else
    // finished, and reported failed either way.
    failed_.insert(names_.begin(), names_.end());
    if (renameat(dir_fd_, committed.c_str(), dir_fd_, prepared_name_.c_str()) == 0) {
      RemovePrepared();
      return false;
    }
  }
  FinishCommitted(dir_fd_, committed, prepared_.Get(), names_, failed_);
  names_.clear();
  prepared_.Close();
  return true;
}

void ZelKeyChainChange::RemovePrepared() {
  if (!prepared_.IsOpen()) return;
  RemoveChangeDirectory(dir_fd_, prepared_name_, prepared_.Get(), names_);
  names_.clear();
  prepared_.Close();
}

namespace ZelKeyChainChanges {

std::vector<Abandoned> FindAbandoned(int dir_fd) {
  std::vector<Abandoned> found;
  std::vector<std::string> names;
  NamesIn(dir_fd, names);
  for (const std::string& name : names) {
    const bool prepared = StartsWith(name, kPreparedPrefix);
    if (!prepared && !StartsWith(name, kStorePrefix) && !StartsWith(name, kErasePrefix))
      continue;
    const HevoFileDescriptor fd(openat(dir_fd, name.c_str(), kDirectoryFlags));
    // Its writer holds the lock while it lives.
    if (!fd.IsOpen() || flock(fd.Get(), LOCK_EX | LOCK_NB) != 0 ||
        !IsStill(dir_fd, name, fd.Get()))
      continue;
    std::vector<std::string> entries;
    if (!NamesIn(fd.Get(), entries)) continue;  // left for a later call
    if (prepared || entries.empty()) {
      RemoveChangeDirectory(dir_fd, name, fd.Get(), entries);
      continue;
    }
    Abandoned change{name, {}};
    for (const std::string& entry : entries)
      change.keys.insert(HevoFileUtils::GetFileBaseName(entry));
    found.push_back(change);
  }
  return found;
}

void Finish(int dir_fd, const std::string& name) {
  const HevoFileDescriptor fd(openat(dir_fd, name.c_str(), kDirectoryFlags));
  if (!fd.IsOpen()) return;
  // Another call's scan may be looking at it: wait for that moment.
  int result;
  do {
    result = flock(fd.Get(), LOCK_EX);
  } while (result != 0 && errno == EINTR);
  if (result != 0 || !IsStill(dir_fd, name, fd.Get())) return;
  std::vector<std::string> entries;
  std::set<std::string> failed;  // nobody is left to tell
  if (NamesIn(fd.Get(), entries)) FinishCommitted(dir_fd, name, fd.Get(), entries, failed);
}

}  // namespace ZelKeyChainChanges
