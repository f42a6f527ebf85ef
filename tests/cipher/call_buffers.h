// call_buffers.h: argument buffers for tables of cipher calls.
#ifndef ZEL_TESTS_CIPHER_CALL_BUFFERS_H
#define ZEL_TESTS_CIPHER_CALL_BUFFERS_H

#include <algorithm>
#include <cstdint>

// CallBuffers holds a key, an IV, an input and an output large enough for
// every call of the tables; the output starts filled with kUntouched so
// that a test can tell whether a failing call wrote to it.
struct CallBuffers {
  static constexpr uint8_t kUntouched = 0xa5;

  uint8_t key[32];
  uint8_t iv[16];
  uint8_t in[64];
  uint8_t out[96];

  CallBuffers() {
    for (int i = 0; i < 32; ++i) key[i] = static_cast<uint8_t>(i * 7 + 1);
    for (int i = 0; i < 16; ++i) iv[i] = static_cast<uint8_t>(i * 13 + 2);
    for (int i = 0; i < 64; ++i) in[i] = static_cast<uint8_t>(i * 31 + 3);
    std::fill(out, out + sizeof out, kUntouched);
  }

  bool OutUntouched() const {
    return std::all_of(out, out + sizeof out,
                       [](uint8_t b) { return b == kUntouched; });
  }
};

#endif  // ZEL_TESTS_CIPHER_CALL_BUFFERS_H
