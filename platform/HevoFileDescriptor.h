// HevoFileDescriptor.h: a file descriptor that closes itself. Internal to
// the base library.
#ifndef HEVO_FILE_DESCRIPTOR_H
#define HEVO_FILE_DESCRIPTOR_H

#include <unistd.h>

class HevoFileDescriptor {
 public:
  explicit HevoFileDescriptor(int fd) : fd_(fd) {}
  HevoFileDescriptor(const HevoFileDescriptor&) = delete;
  HevoFileDescriptor& operator=(const HevoFileDescriptor&) = delete;
  ~HevoFileDescriptor() {
    if (fd_ >= 0) close(fd_);
  }

  int Get() const { return fd_; }
  bool IsOpen() const { return fd_ >= 0; }

  // Release gives up ownership without closing.
  void Release() { fd_ = -1; }

  // Reset closes the descriptor held, if any, and takes |fd|.
  void Reset(int fd) {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
  }

  // Close closes now and reports close's own result, which can carry a
  // delayed write error.
  bool Close() {
    const int fd = fd_;
    fd_ = -1;
    return fd < 0 || close(fd) == 0;
  }

 private:
  int fd_;
};

#endif  // HEVO_FILE_DESCRIPTOR_H
