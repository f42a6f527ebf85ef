// byte_bijection.cpp: see byte_bijection.h.
#include "byte_bijection.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "aes_reference.h"

namespace zel_wbgen {

ByteMap random_encoding(ChaCha20Stream& stream) {
  ByteMap map;
  for (unsigned i = 0; i < 256; ++i) map[i] = static_cast<uint8_t>(i);
  for (unsigned i = 255; i > 0; --i)
    std::swap(map[i], map[stream.uniform(i + 1)]);
  return map;
}

ByteMap random_state_encoding(ChaCha20Stream& stream) {
  for (;;) {
    const ByteMap map = random_encoding(stream);
    int strongest = 0;
    for (unsigned in = 0; in < 8; ++in)
      for (unsigned out = 0; out < 8; ++out) {
        int sum = 0;
        for (unsigned x = 0; x < 256; ++x)
          sum += (((x >> in) ^ (map[x] >> out)) & 1) ? -1 : 1;
        strongest = std::max(strongest, std::abs(sum));
      }
    if (strongest <= 64) return map;
  }
}

ByteMap random_nibble_encoding(ChaCha20Stream& stream) {
  uint8_t half[2][16];
  for (auto& nibble : half) {
    for (unsigned i = 0; i < 16; ++i) nibble[i] = static_cast<uint8_t>(i);
    for (unsigned i = 15; i > 0; --i)
      std::swap(nibble[i], nibble[stream.uniform(i + 1)]);
  }
  ByteMap map;
  for (unsigned x = 0; x < 256; ++x)
    map[x] = static_cast<uint8_t>(half[0][x >> 4] << 4 | half[1][x & 15]);
  zel_ref::secure_wipe(half, sizeof half);
  return map;
}

ByteMap inverse_of(const ByteMap& map) {
  ByteMap inv{};
  for (unsigned x = 0; x < 256; ++x) inv[map[x]] = static_cast<uint8_t>(x);
  return inv;
}

ByteMap compose(const ByteMap& outer, const ByteMap& inner) {
  ByteMap out{};
  for (unsigned x = 0; x < 256; ++x) out[x] = outer[inner[x]];
  return out;
}

ByteMap multiply_map(uint8_t c) {
  ByteMap out{};
  for (unsigned x = 0; x < 256; ++x)
    out[x] = zel_ref::gf_mul(static_cast<uint8_t>(x), c);
  return out;
}

}  // namespace zel_wbgen
