// host_secret.cpp: see host_secret.h.
#include "host_secret.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "HevoFileDescriptor.h"
#include "HevoFileIo.h"
#include "HevoWipe.h"
#include "aead.h"

namespace zel_binding {
namespace {

using HevoFileIo::ReadExactly;
using HevoFileIo::SyncRetrying;
using HevoFileIo::WriteAll;

constexpr uint8_t kMagic[7] = {'Z', 'E', 'L', 'H', 'O', 'S', 'T'};
constexpr uint8_t kVersion = 1;
constexpr size_t kSecretOffset = 8;
constexpr size_t kCheckOffset = kSecretOffset + DeviceValue::kSize;
constexpr size_t kCheckSize = kHostSecretFileSize - kCheckOffset;
const char kCheckSalt[] = "zel_secure_store host secret check";
// Temporaries of a creation are named ".<name>.new-<random hex>".
const char kTemporaryInfix[] = ".new-";

// FileBytes is the file's content, wiped when it goes.
struct FileBytes {
  uint8_t bytes[kHostSecretFileSize];
  ~FileBytes() { HevoWipe::Wipe(bytes, sizeof bytes); }
};

std::string Quoted(const std::string& path) { return "'" + path + "'"; }

SourceResult Fail(SourceStatus status, const std::string& reason) { return {status, reason}; }

SourceResult SystemError(const char* what, const std::string& path) {
  return Fail(SourceStatus::kFailed,
              std::string("can't ") + what + " the host secret " + Quoted(path) + ": " +
                  std::strerror(errno));
}

bool ComputeCheck(const Libcrypto& crypto, const uint8_t* secret, uint8_t* check) {
  uint8_t full[32];
  const bool ok = HkdfSha256(crypto, Span{secret, DeviceValue::kSize},
                             Span{reinterpret_cast<const uint8_t*>(kCheckSalt), sizeof kCheckSalt - 1},
                             Span{nullptr, 0}, full, sizeof full);
  if (ok) std::memcpy(check, full, kCheckSize);
  HevoWipe::Wipe(full, sizeof full);
  return ok;
}

// CheckAndRead applies the rules of the header to the open file |fd| and
// reads its secret into |out|.
SourceResult CheckAndRead(const Libcrypto& crypto, int fd, const std::string& path,
                          DeviceValue& out) {
  const std::string name = "the host secret " + Quoted(path);
  struct stat info;
  if (fstat(fd, &info) != 0) return SystemError("inspect", path);
  if (!S_ISREG(info.st_mode)) return Fail(SourceStatus::kRefused, name + " is not a regular file");
  if (info.st_nlink != 1)
    return Fail(SourceStatus::kRefused,
                name + " has " + std::to_string(info.st_nlink) + " links, not 1");
  if (info.st_uid != geteuid())
    return Fail(SourceStatus::kRefused, name + " belongs to uid " + std::to_string(info.st_uid) +
                                            ", not to this process's uid " +
                                            std::to_string(geteuid()));
  if ((info.st_mode & 07777) != 0400) {
    char mode[8];
    std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(info.st_mode & 07777));
    return Fail(SourceStatus::kRefused, name + " has mode " + mode + ", not 0400");
  }
  if (info.st_size != static_cast<off_t>(kHostSecretFileSize))
    return Fail(SourceStatus::kRefused, name + " has " + std::to_string(info.st_size) +
                                            " bytes, not " + std::to_string(kHostSecretFileSize));
  FileBytes file;
  uint8_t probe;
  if (!ReadExactly(fd, file.bytes, sizeof file.bytes) || ReadExactly(fd, &probe, 1))
    return Fail(SourceStatus::kFailed, "can't read the host secret " + Quoted(path) +
                                           ": its length changed while it was read");
  uint8_t check[kCheckSize];
  if (!ComputeCheck(crypto, file.bytes + kSecretOffset, check))
    return Fail(SourceStatus::kFailed, "can't check " + name + ": libcrypto failed");
  if (std::memcmp(file.bytes, kMagic, sizeof kMagic) != 0 || file.bytes[7] != kVersion ||
      std::memcmp(file.bytes + kCheckOffset, check, kCheckSize) != 0)
    return Fail(SourceStatus::kRefused, name + " is corrupt (its magic, version or check is wrong)");
  std::memcpy(out.data(), file.bytes + kSecretOffset, DeviceValue::kSize);
  return {SourceStatus::kOk, ""};
}

// SplitPath splits an absolute |path| into its directory and its last
// component.
void SplitPath(const std::string& path, std::string& dir, std::string& base) {
  const std::string::size_type slash = path.rfind('/');
  dir = slash == 0 ? "/" : path.substr(0, slash);
  base = path.substr(slash + 1);
}

// OpenDirectory opens |dir|, creating it with mode 0700 (and syncing its
// parent) when it is missing.
int OpenDirectory(const std::string& dir) {
  const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  int fd = open(dir.c_str(), flags);
  if (fd >= 0 || errno != ENOENT) return fd;
  if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) return -1;
  std::string parent, unused;
  SplitPath(dir, parent, unused);
  HevoFileDescriptor parent_fd(open(parent.c_str(), flags));
  if (!parent_fd.IsOpen() || !SyncRetrying(parent_fd.Get())) return -1;
  return open(dir.c_str(), flags);
}

// RemoveAbandoned removes temporaries of earlier creations that never got
// renamed (a crash); a concurrent creator that loses its temporary this way
// sees ENOENT at its rename and starts over.
void RemoveAbandoned(int dir_fd, const std::string& base) {
  const std::string prefix = "." + base + kTemporaryInfix;
  const int list_fd = openat(dir_fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (list_fd < 0) return;
  DIR* stream = fdopendir(list_fd);
  if (stream == nullptr) {
    close(list_fd);
    return;
  }
  while (const dirent* entry = readdir(stream))
    if (std::strncmp(entry->d_name, prefix.c_str(), prefix.size()) == 0)
      unlinkat(dir_fd, entry->d_name, 0);
  closedir(stream);
}

enum class Created { kYes, kLostRace, kFailed };

// Create makes the secret file at |path| and its secret in |out|. kLostRace
// when another process took the name first (read that one instead).
Created Create(const Libcrypto& crypto, const std::string& path, DeviceValue& out,
               SourceResult& failure) {
  std::string dir, base;
  SplitPath(path, dir, base);
  const HevoFileDescriptor dir_fd(OpenDirectory(dir));
  if (!dir_fd.IsOpen()) {
    failure = SystemError("create the directory of", path);
    return Created::kFailed;
  }
  RemoveAbandoned(dir_fd.Get(), base);

  FileBytes file;
  uint8_t suffix[8];
  std::memcpy(file.bytes, kMagic, sizeof kMagic);
  file.bytes[7] = kVersion;
  if (!RandomBytes(crypto, file.bytes + kSecretOffset, DeviceValue::kSize) ||
      !ComputeCheck(crypto, file.bytes + kSecretOffset, file.bytes + kCheckOffset) ||
      !RandomBytes(crypto, suffix, sizeof suffix)) {
    failure = Fail(SourceStatus::kFailed,
                   "can't make the host secret " + Quoted(path) + ": libcrypto failed");
    return Created::kFailed;
  }
  std::string temporary = "." + base + kTemporaryInfix;
  for (const uint8_t byte : suffix) {
    static const char kHex[] = "0123456789abcdef";
    temporary += kHex[byte >> 4];
    temporary += kHex[byte & 15];
  }
  HevoFileDescriptor fd(openat(dir_fd.Get(), temporary.c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0400));
  if (!fd.IsOpen()) {
    failure = SystemError("create", path);
    return Created::kFailed;
  }
  // fchmod: the umask may have taken the owner's read bit.
  if (!WriteAll(fd.Get(), file.bytes, sizeof file.bytes) || fchmod(fd.Get(), 0400) != 0 ||
      !SyncRetrying(fd.Get()) || !fd.Close()) {
    failure = SystemError("write", path);
    unlinkat(dir_fd.Get(), temporary.c_str(), 0);
    return Created::kFailed;
  }
  if (renameat2(dir_fd.Get(), temporary.c_str(), dir_fd.Get(), base.c_str(), RENAME_NOREPLACE) != 0) {
    const int error = errno;
    unlinkat(dir_fd.Get(), temporary.c_str(), 0);
    if (error == EEXIST || error == ENOENT) return Created::kLostRace;
    errno = error;
    failure = SystemError("put in place", path);
    return Created::kFailed;
  }
  // The secret must be durable before any item bound to it is written.
  if (!SyncRetrying(dir_fd.Get())) {
    failure = SystemError("sync the directory of", path);
    return Created::kFailed;
  }
  std::memcpy(out.data(), file.bytes + kSecretOffset, DeviceValue::kSize);
  return Created::kYes;
}

}  // namespace

std::string HostSecretPath() {
  const char* path = std::getenv(kHostSecretVariable);
  return path != nullptr && *path != '\0' ? path : kDefaultHostSecretPath;
}

SourceResult ReadHostSecret(const Libcrypto& crypto, const std::string& path, bool create,
                            DeviceValue& out) {
  out.Wipe();
  if (path.empty() || path[0] != '/' || path.back() == '/')
    return Fail(SourceStatus::kRefused,
                "the host secret path " + Quoted(path) + " is not an absolute file path");
  // A few rounds: each is lost only to a concurrent creator.
  for (int round = 0; round < 3; ++round) {
    // Non-blocking: a FIFO in its place must not hang the store.
    const HevoFileDescriptor fd(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (fd.IsOpen()) {
      SourceResult result = CheckAndRead(crypto, fd.Get(), path, out);
      if (result.status != SourceStatus::kOk) out.Wipe();
      return result;
    }
    if (errno == ELOOP)
      return Fail(SourceStatus::kRefused, "the host secret " + Quoted(path) + " is a symbolic link");
    if (errno != ENOENT) return SystemError("open", path);
    if (!create)
      return Fail(SourceStatus::kDeviceAbsent,
                  "the host secret " + Quoted(path) +
                      " is missing, and bound item files cannot be read without it");
    SourceResult failure{SourceStatus::kFailed, ""};
    switch (Create(crypto, path, out, failure)) {
      case Created::kYes: return {SourceStatus::kOk, ""};
      case Created::kFailed: out.Wipe(); return failure;
      case Created::kLostRace: break;
    }
  }
  return Fail(SourceStatus::kFailed,
              "can't create the host secret " + Quoted(path) + ": it keeps changing");
}

}  // namespace zel_binding
