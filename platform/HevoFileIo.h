// HevoFileIo.h: whole reads, whole writes and syncs that retry where the
// kernel asks to, for the base library, the key store and the device
// binding. Header only; not installed.
#ifndef HEVO_FILE_IO_H
#define HEVO_FILE_IO_H

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace HevoFileIo {

// ReadExactly reads |size| bytes from |fd| into |data|; false on an error
// or an early end of file.
inline bool ReadExactly(int fd, uint8_t* data, size_t size) {
  while (size > 0) {
    const ssize_t got = read(fd, data, size);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    data += got;
    size -= static_cast<size_t>(got);
  }
  return true;
}

// WriteAll writes |size| bytes at |data| to |fd|; false (errno set) on the
// first error other than an interruption.
inline bool WriteAll(int fd, const uint8_t* data, size_t size) {
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

// SyncRetrying makes what was written to |fd| durable (a file's data, or a
// directory's entries); false (errno set) when the sync failed.
inline bool SyncRetrying(int fd) {
  int result;
  do {
    result = fsync(fd);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace HevoFileIo

#endif  // HEVO_FILE_IO_H
