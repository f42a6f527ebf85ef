// key_files.cpp: see key_files.h.
#include "key_files.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace zel_egsk {

std::size_t read_key_file(const std::string& path, uint8_t* data,
                          std::size_t min_size, std::size_t max_size,
                          std::string& error) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    error = "cannot open " + path + ": " + std::strerror(errno);
    return 0;
  }
  std::size_t got = 0;
  uint8_t extra;
  bool too_long = false;
  for (;;) {
    const ssize_t n = got < max_size ? ::read(fd, data + got, max_size - got)
                                     : ::read(fd, &extra, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    if (got == max_size) {
      too_long = true;
      break;
    }
    got += static_cast<std::size_t>(n);
  }
  ::close(fd);
  if (too_long || got < min_size) {
    error = path + " has the wrong length";
    return 0;
  }
  return got;
}

bool write_new_file(const std::string& path, const uint8_t* data,
                    std::size_t size, std::string& error) {
  const int fd =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) {
    error = "cannot create " + path + ": " + std::strerror(errno);
    return false;
  }
  std::size_t done = 0;
  while (done < size) {
    const ssize_t n = ::write(fd, data + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  const bool closed = ::close(fd) == 0;
  if (done != size || !closed) {
    error = "cannot write " + path;
    return false;
  }
  return true;
}

bool random_bytes(uint8_t* data, std::size_t size, std::string& error) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t n = ::getrandom(data + done, size - done, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      error = std::string("getrandom failed: ") + std::strerror(errno);
      return false;
    }
    done += static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace zel_egsk
