// HevoFileUtils.cpp: see HevoFileUtils.h.
#include "HevoFileUtils.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "HevoFileDescriptor.h"
#include "HevoFileIo.h"
#include "HevoTempFiles.h"

namespace HevoFileUtils {
namespace {

struct DirCloser {
  void operator()(DIR* dir) const { closedir(dir); }
};

bool IsDirectory(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// ParentOf returns the directory that holds |path|: "." when it has no
// "/", "/" when that is the only one.
std::string ParentOf(const std::string& path) {
  const std::string::size_type slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// SyncDirectory makes the entries of |dir| durable: a create, mkdir, rename
// or unlink in it survives a power loss only once the directory is synced.
bool SyncDirectory(const std::string& dir) {
  HevoFileDescriptor dir_fd(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!dir_fd.IsOpen()) return false;
  return HevoFileIo::SyncRetrying(dir_fd.Get());
}

bool IsRegularFileAt(int dir_fd, const dirent& entry) {
  if (entry.d_type == DT_REG) return true;
  if (entry.d_type != DT_UNKNOWN) return false;
  // Some file systems do not fill in the type; ask for it.
  struct stat info;
  return fstatat(dir_fd, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISREG(info.st_mode);
}

}  // namespace

bool Exists(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) == 0;
}

bool CreateDirectoryRecursive(const std::string& path, unsigned int mode) {
  if (path.empty()) return false;
  // Create each prefix that ends before a "/", then the whole path.
  for (std::string::size_type slash = path.find('/', 1);;
       slash = path.find('/', slash + 1)) {
    const std::string prefix = path.substr(0, slash);
    if (mkdir(prefix.c_str(), static_cast<mode_t>(mode)) == 0) {
      // A new directory's entry lives in its parent: without this sync a
      // power loss can drop the directory, and every item later stored and
      // confirmed in it.
      if (!SyncDirectory(ParentOf(prefix))) return false;
    } else if (errno != EEXIST) {
      return false;
    }
    if (slash == std::string::npos) break;
  }
  return IsDirectory(path);
}

bool GetFiles(const std::string& dir, std::set<std::string>& names) {
  std::unique_ptr<DIR, DirCloser> stream(opendir(dir.c_str()));
  if (!stream) return false;
  std::set<std::string> found;
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(stream.get());
    if (entry == nullptr) {
      if (errno != 0) return false;
      break;
    }
    if (!IsRegularFileAt(dirfd(stream.get()), *entry)) continue;
    if (HevoTempFiles::IsTemporaryName(entry->d_name)) continue;
    found.insert(entry->d_name);
  }
  names.insert(found.begin(), found.end());
  return true;
}

std::string GetFileBaseName(const std::string& name) {
  return name.substr(0, name.find('.'));
}

bool Remove(const std::string& path) {
  if (unlink(path.c_str()) != 0) return false;
  // Make the removal durable; the file is gone either way.
  SyncDirectory(ParentOf(path));
  return true;
}

}  // namespace HevoFileUtils
