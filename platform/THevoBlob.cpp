// THevoBlob.cpp: see THevoBlob.h.
#include "THevoBlob.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <limits>
#include <new>
#include <stdexcept>

#include "HevoFileDescriptor.h"
#include "HevoFileIo.h"
#include "HevoTempFiles.h"
#include "HevoWipe.h"

namespace {

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

// WipedOnExit wipes a local byte vector when it goes out of scope, on every
// exit path: it may hold file bytes, or a blob's old bytes after a swap.
struct WipedOnExit {
  std::vector<uint8_t>& bytes;
  ~WipedOnExit() { HevoWipe::Clear(bytes); }
};

}  // namespace

THevoBlob::THevoBlob() = default;

THevoBlob::THevoBlob(const std::string& text) {
  GetContainer().assign(text.begin(), text.end());
}

THevoBlob::~THevoBlob() {
  // Blobs carry keys and plaintext: wipe the whole allocation, also the
  // spare capacity left by earlier, longer contents, before it is freed.
  HevoWipe::Clear(GetContainer());
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
  return Load(path, std::numeric_limits<uint32_t>::max());
}

bool THevoBlob::Load(const std::string& path, size_t maxSize) {
  // Non-blocking, so that opening a FIFO or a device cannot hang; the type
  // is then checked on the descriptor itself, not on the name.
  HevoFileDescriptor file(
      open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file.IsOpen()) return false;
  struct stat info;
  if (fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  if (info.st_size < 0 || static_cast<uint64_t>(info.st_size) > maxSize)
    return false;

  std::vector<uint8_t> bytes;
  const WipedOnExit wiped{bytes};
  try {
    bytes.resize(static_cast<size_t>(info.st_size));
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
  // Exactly the size that fstat gave, then the end of the file: a file that
  // shrinks or grows while it is read is refused, not read without bound.
  uint8_t probe;
  if (!HevoFileIo::ReadExactly(file.Get(), bytes.data(), bytes.size()) ||
      HevoFileIo::ReadExactly(file.Get(), &probe, 1))
    return false;
  GetContainer().swap(bytes);
  return true;
}

bool THevoBlob::Store(const std::string& path) const {
  std::string dir, base;
  SplitPath(path, dir, base);
  if (base.empty() || base == "." || base == "..") return false;

  HevoFileDescriptor dir_fd(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!dir_fd.IsOpen()) return false;
  HevoTempFiles::RemoveAbandoned(dir_fd.Get());

  std::string temporary;
  HevoFileDescriptor file(HevoTempFiles::CreateLocked(dir_fd.Get(), temporary));
  if (!file.IsOpen()) return false;
  // The lock belongs to the open file and is shared by a duplicate
  // descriptor: |holder| keeps it, so that no other Store takes the
  // temporary for abandoned, until the rename is done; |file| is closed
  // before, for the write error that close can report.
  const HevoFileDescriptor holder(fcntl(file.Get(), F_DUPFD_CLOEXEC, 0));
  const std::vector<uint8_t>& bytes = GetContainer();
  if (!holder.IsOpen() || !HevoFileIo::WriteAll(file.Get(), bytes.data(), bytes.size()) ||
      !HevoFileIo::SyncRetrying(file.Get()) || !file.Close() ||
      renameat(dir_fd.Get(), temporary.c_str(), dir_fd.Get(), base.c_str()) != 0) {
    unlinkat(dir_fd.Get(), temporary.c_str(), 0);
    return false;
  }
  // The rename is durable only once the directory itself is synced.
  return HevoFileIo::SyncRetrying(dir_fd.Get());
}
