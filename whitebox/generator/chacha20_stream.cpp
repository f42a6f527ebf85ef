// chacha20_stream.cpp: see chacha20_stream.h.
#include "chacha20_stream.h"

#include "aes_reference.h"

namespace zel_wbgen {
namespace {

uint32_t rotl(uint32_t v, int n) { return (v << n) | (v >> (32 - n)); }

void quarter_round(uint32_t* x, int a, int b, int c, int d) {
  x[a] += x[b]; x[d] = rotl(x[d] ^ x[a], 16);
  x[c] += x[d]; x[b] = rotl(x[b] ^ x[c], 12);
  x[a] += x[b]; x[d] = rotl(x[d] ^ x[a], 8);
  x[c] += x[d]; x[b] = rotl(x[b] ^ x[c], 7);
}

uint32_t load_le32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
         static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

}  // namespace

ChaCha20Stream::ChaCha20Stream(const uint8_t seed[32], StreamPurpose purpose)
    : used_(16) {
  // "expand 32-byte k"
  input_[0] = 0x61707865;
  input_[1] = 0x3320646e;
  input_[2] = 0x79622d32;
  input_[3] = 0x6b206574;
  for (int i = 0; i < 8; ++i) input_[4 + i] = load_le32(seed + 4 * i);
  input_[12] = 0;  // block counter
  input_[13] = static_cast<uint32_t>(purpose);
  input_[14] = 0x6c657a;  // a fixed label, so that other uses of the same
  input_[15] = 0x6277;    // seed with ChaCha20 draw other streams
}

ChaCha20Stream::~ChaCha20Stream() {
  zel_ref::secure_wipe(input_, sizeof input_);
  zel_ref::secure_wipe(block_, sizeof block_);
}

void ChaCha20Stream::refill() {
  for (int i = 0; i < 16; ++i) block_[i] = input_[i];
  for (int i = 0; i < 10; ++i) {
    quarter_round(block_, 0, 4, 8, 12);
    quarter_round(block_, 1, 5, 9, 13);
    quarter_round(block_, 2, 6, 10, 14);
    quarter_round(block_, 3, 7, 11, 15);
    quarter_round(block_, 0, 5, 10, 15);
    quarter_round(block_, 1, 6, 11, 12);
    quarter_round(block_, 2, 7, 8, 13);
    quarter_round(block_, 3, 4, 9, 14);
  }
  for (int i = 0; i < 16; ++i) block_[i] += input_[i];
  ++input_[12];
  used_ = 0;
}

uint32_t ChaCha20Stream::next_u32() {
  if (used_ == 16) refill();
  return block_[used_++];
}

uint32_t ChaCha20Stream::uniform(uint32_t bound) {
  // Reject the top (2^32 mod bound) values so every residue is equally
  // likely.
  const uint32_t limit = static_cast<uint32_t>(-bound) % bound;
  for (;;) {
    const uint32_t v = next_u32();
    if (v >= limit) return v % bound;
  }
}

}  // namespace zel_wbgen
