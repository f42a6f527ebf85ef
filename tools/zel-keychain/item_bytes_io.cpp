// item_bytes_io.cpp: see item_bytes_io.h.
#include "item_bytes_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kChunk = 64 * 1024;

void Wipe(Bytes& bytes) {
  bytes.resize(bytes.capacity());
  volatile uint8_t* data = bytes.data();
  for (size_t i = 0; i < bytes.size(); ++i) data[i] = 0;
  bytes.clear();
}

// GrowTo gives |bytes| room for |size| bytes without leaving a copy of the
// old content in a freed block.
void GrowTo(Bytes& bytes, size_t size) {
  if (size <= bytes.capacity()) {
    bytes.resize(size);
    return;
  }
  Bytes bigger;
  bigger.reserve(size > 2 * bytes.capacity() ? size : 2 * bytes.capacity());
  bigger.assign(bytes.begin(), bytes.end());
  bigger.resize(size);
  bytes.swap(bigger);
  Wipe(bigger);
}

// Descriptor closes the file it holds.
struct Descriptor {
  int fd;
  ~Descriptor() {
    if (fd >= 0) close(fd);
  }
};

}  // namespace

bool ReadWholeFile(const std::string& path, size_t limit, THevoBlob& blob, std::string& error) {
  Bytes& bytes = blob.GetContainer();
  Wipe(bytes);
  const Descriptor file{open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  struct stat info;
  if (file.fd < 0 || fstat(file.fd, &info) != 0) {
    error = std::strerror(errno);
    return false;
  }
  if (S_ISDIR(info.st_mode)) {
    error = "is a directory";
    return false;
  }
  // A regular file's size is known: one block, no copy on the way.
  if (S_ISREG(info.st_mode) && static_cast<uint64_t>(info.st_size) <= limit)
    bytes.reserve(static_cast<size_t>(info.st_size) + 1);
  size_t size = 0;
  for (;;) {
    // Fill the block already there before growing it; one byte past the
    // limit tells a file that is too long.
    size_t room = bytes.capacity() > size ? bytes.capacity() - size : kChunk;
    if (room > limit - size + 1) room = limit - size + 1;
    GrowTo(bytes, size + room);
    const ssize_t got = read(file.fd, bytes.data() + size, room);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      error = std::strerror(errno);
      Wipe(bytes);
      return false;
    }
    size += static_cast<size_t>(got);
    bytes.resize(size);
    if (got == 0) return true;
    if (size > limit) {
      error = "longer than " + std::to_string(limit) + " bytes";
      Wipe(bytes);
      return false;
    }
  }
}

bool WriteAll(int fd, const THevoBlob& blob) {
  const uint8_t* data = blob.GetContainer().data();
  size_t left = blob.GetContainer().size();
  while (left > 0) {
    const ssize_t written = write(fd, data, left);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      if (written == 0) errno = EIO;
      return false;
    }
    data += written;
    left -= static_cast<size_t>(written);
  }
  return true;
}

bool WriteNewFile(const std::string& path, const THevoBlob& blob, std::string& error) {
  // O_EXCL: never replace what is there, also not through a symbolic link.
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) {
    error = std::strerror(errno);
    return false;
  }
  // The umask may take bits away, never add them; make the mode exact.
  bool ok = fchmod(fd, 0600) == 0 && WriteAll(fd, blob) && fsync(fd) == 0;
  int failure = ok ? 0 : errno;
  if (close(fd) != 0 && ok) {
    ok = false;
    failure = errno;
  }
  if (!ok) {
    error = std::strerror(failure);
    unlink(path.c_str());
  }
  return ok;
}
