// wiped_buffer.h: a heap byte array that is wiped before it is freed.
//
// The cipher wrappers keep plaintext (in its encoded forms) in scratch
// arrays; WipedBuffer clears such an array on every exit path, exceptions
// included.
#ifndef ZEL_WHITEBOX_WIPED_BUFFER_H
#define ZEL_WHITEBOX_WIPED_BUFFER_H

#include <cstddef>
#include <cstdint>

namespace zel_wb {

// wipe overwrites |size| bytes at |data| with zeros; the compiler cannot
// drop it.
inline void wipe(void* data, size_t size) {
  volatile uint8_t* bytes = static_cast<volatile uint8_t*>(data);
  while (size--) *bytes++ = 0;
}

class WipedBuffer {
 public:
  explicit WipedBuffer(size_t size) : data_(new uint8_t[size]), size_(size) {}
  ~WipedBuffer() {
    wipe(data_, size_);
    delete[] data_;
  }
  WipedBuffer(const WipedBuffer&) = delete;
  WipedBuffer& operator=(const WipedBuffer&) = delete;

  uint8_t* data() { return data_; }

 private:
  uint8_t* data_;
  size_t size_;
};

}  // namespace zel_wb

#endif  // ZEL_WHITEBOX_WIPED_BUFFER_H
