// core_encodings.cpp: see core_encodings.h.
#include "core_encodings.h"

namespace zel_wbgen {

const uint8_t kMixCoefficients[4] = {2, 3, 1, 1};
const uint8_t kInvMixCoefficients[4] = {14, 11, 13, 9};

unsigned column_source(bool inverse, unsigned row, unsigned col) {
  return row + 4 * ((inverse ? col - row : col + row) & 3);
}

unsigned column_dest(bool inverse, unsigned i) {
  unsigned col = 0;
  while (column_source(inverse, i & 3, col) != i) ++col;
  return col;
}

ByteMap random_linear_map(ChaCha20Stream& stream) {
  for (;;) {
    uint8_t column[8];
    for (uint8_t& c : column) c = static_cast<uint8_t>(stream.next_u32());
    ByteMap map;
    for (unsigned x = 0; x < 256; ++x) {
      uint8_t y = 0;
      for (unsigned b = 0; b < 8; ++b)
        if ((x >> b) & 1) y ^= column[b];
      map[x] = y;
    }
    bool seen[256] = {};
    bool bijective = true;
    for (uint8_t y : map) bijective = bijective && !seen[y], seen[y] = true;
    if (bijective) return map;
  }
}

DirectionEncodings draw_direction(ChaCha20Stream& stream,
                                  const uint8_t coefficients[4],
                                  bool inverse) {
  DirectionEncodings enc;
  enc.inverse = inverse;
  enc.entry = random_nibble_encoding(stream);
  for (unsigned d = 0; d < 4; ++d)
    enc.term[d] = compose(random_state_encoding(stream),
                          inverse_of(multiply_map(coefficients[d])));
  enc.half_a = random_state_encoding(stream);
  enc.half_b = random_state_encoding(stream);
  enc.sum = random_state_encoding(stream);
  enc.sbox_in = random_nibble_encoding(stream);
  enc.sbox_out = random_nibble_encoding(stream);
  enc.out = random_nibble_encoding(stream);
  for (ByteMap& position : enc.out_position)
    position = random_nibble_encoding(stream);
  for (auto& layer : enc.layer)
    for (ByteMap& position : layer) position = random_state_encoding(stream);
  for (auto& layer : enc.term_mask)
    for (auto& position : layer)
      for (uint8_t& mask : position) mask = static_cast<uint8_t>(stream.next_u32());
  for (auto& layer : enc.term_linear)
    for (ByteMap& position : layer) position = random_linear_map(stream);
  return enc;
}

}  // namespace zel_wbgen
