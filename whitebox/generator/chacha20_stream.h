// chacha20_stream.h: the deterministic random stream behind every secret
// choice of the white-box build (ChaCha20, RFC 8439 block function).
//
// The generator and zel-egsk key one stream per purpose with the 32-byte
// seed and a purpose label (the nonce), so that a purpose's values do not
// depend on how much another purpose drew: zel-egsk reproduces the key
// protection without generating any table.
//
// WARNING: the stream is as secret as the seed. Objects wipe their key and
// buffered output when destroyed.
//
// Constant time: the block function is; uniform() rejects by value (it
// runs only at build time and in zel-egsk).
#ifndef ZEL_WHITEBOX_GENERATOR_CHACHA20_STREAM_H
#define ZEL_WHITEBOX_GENERATOR_CHACHA20_STREAM_H

#include <cstdint>

namespace zel_wbgen {

// StreamPurpose names the independent streams drawn from one seed. The
// values are part of the build's output format: changing one changes every
// table and the protected key form of that purpose.
enum class StreamPurpose : uint32_t {
  kKeyProtection128 = 1,
  kKeyProtection256 = 2,
  kEncryptorCore = 3,
  kDecryptorCore = 4,
};

class ChaCha20Stream {
 public:
  ChaCha20Stream(const uint8_t seed[32], StreamPurpose purpose);
  ~ChaCha20Stream();
  ChaCha20Stream(const ChaCha20Stream&) = delete;
  ChaCha20Stream& operator=(const ChaCha20Stream&) = delete;

  uint32_t next_u32();
  // uniform returns a value in [0, bound) without modulo bias; bound > 0.
  uint32_t uniform(uint32_t bound);

 private:
  void refill();

  uint32_t input_[16];
  uint32_t block_[16];
  unsigned used_;
};

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_CHACHA20_STREAM_H
