// THevoBlob.cpp: see THevoBlob.h.
#include "THevoBlob.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "HevoFileDescriptor.h"
#include "HevoTempFiles.h"

namespace {

bool WriteAll(int fd, const uint8_t* data, size_t size) {
  while (size > 0) {
    const ssize_t written = write(fd, data, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

bool SyncRetrying(int fd) {
  int result;
  do {
    result = fsync(fd);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

// SplitPath splits |path| into its directory ("." when it has none) and its
// last component.
void SplitPath(const std::string& path, std::string& dir, std::string& base) {
  const std::string::size_type slash = path.rfind('/');
  if (slash == std::string::npos) {
    dir = ".";
    base = path;
  } else {
    dir = slash == 0 ? "/" : path.substr(0, slash);
    base = path.substr(slash + 1);
  }
}

// WriteTemporary creates |name| in |dir_fd|, writes |bytes| into it and syncs
// it. On failure the caller removes the name.
bool WriteTemporary(int dir_fd, const std::string& name,
                    const std::vector<uint8_t>& bytes, bool& created) {
  HevoFileDescriptor file(openat(
      dir_fd, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
      0600));
  created = file.IsOpen();
  if (!created) return false;
  if (!WriteAll(file.Get(), bytes.data(), bytes.size())) return false;
  if (!SyncRetrying(file.Get())) return false;
  return file.Close();
}

}  // namespace

THevoBlob::THevoBlob() = default;

THevoBlob::THevoBlob(const std::string& text) {
  GetContainer().assign(text.begin(), text.end());
}

THevoBlob::~THevoBlob() {
  // Blobs carry keys and plaintext: wipe the bytes before the vector frees
  // them. Volatile stores keep the compiler from dropping the wipe.
  volatile uint8_t* bytes = GetContainer().data();
  for (size_t i = 0; i < GetContainer().size(); ++i) bytes[i] = 0;
}

std::string THevoBlob::ToString() const {
  static const char kHex[] = "0123456789abcdef";
  std::string text;
  text.reserve(GetContainer().size());
  for (const uint8_t byte : GetContainer()) {
    switch (byte) {
      case '\\': text += "\\\\"; break;
      case '\n': text += "\\n"; break;
      case '\r': text += "\\r"; break;
      case '\t': text += "\\t"; break;
      default:
        if (byte >= 0x20 && byte < 0x7f) {
          text += static_cast<char>(byte);
        } else {
          text += "\\x";
          text += kHex[byte >> 4];
          text += kHex[byte & 0x0f];
        }
    }
  }
  return text;
}

bool THevoBlob::Load(const std::string& path) {
  HevoFileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!file.IsOpen()) return false;
  struct stat info;
  if (fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode)) return false;

  std::vector<uint8_t> bytes;
  bytes.reserve(static_cast<size_t>(info.st_size));
  uint8_t chunk[4096];
  for (;;) {
    const ssize_t got = read(file.Get(), chunk, sizeof chunk);
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (got == 0) break;
    bytes.insert(bytes.end(), chunk, chunk + got);
  }
  GetContainer().swap(bytes);
  return true;
}

bool THevoBlob::Store(const std::string& path) const {
  std::string dir, base;
  SplitPath(path, dir, base);
  if (base.empty() || base == "." || base == "..") return false;

  HevoFileDescriptor dir_fd(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!dir_fd.IsOpen()) return false;
  HevoTempFiles::RemoveAbandoned(dir);

  const std::string temporary = HevoTempFiles::NewTemporaryName();
  bool created = false;
  if (!WriteTemporary(dir_fd.Get(), temporary, GetContainer(), created) ||
      renameat(dir_fd.Get(), temporary.c_str(), dir_fd.Get(), base.c_str()) != 0) {
    if (created) unlinkat(dir_fd.Get(), temporary.c_str(), 0);
    return false;
  }
  // The rename is durable only once the directory itself is synced.
  return SyncRetrying(dir_fd.Get());
}
