// core_encodings.cpp: see core_encodings.h.
#include "core_encodings.h"

namespace zel_wbgen {

const uint8_t kMixCoefficients[4] = {2, 3, 1, 1};
const uint8_t kInvMixCoefficients[4] = {14, 11, 13, 9};

unsigned column_source(bool inverse, unsigned row, unsigned col) {
  return row + 4 * ((inverse ? col - row : col + row) & 3);
}

DirectionEncodings draw_direction(ChaCha20Stream& stream,
                                  const uint8_t coefficients[4],
                                  bool inverse) {
  DirectionEncodings enc;
  enc.inverse = inverse;
  enc.entry = random_nibble_encoding(stream);
  for (unsigned d = 0; d < 4; ++d)
    enc.term[d] = compose(random_encoding(stream),
                          inverse_of(multiply_map(coefficients[d])));
  enc.half_a = random_encoding(stream);
  enc.half_b = random_encoding(stream);
  enc.sum = random_encoding(stream);
  enc.sbox_in = random_nibble_encoding(stream);
  enc.sbox_out = random_nibble_encoding(stream);
  enc.out = random_nibble_encoding(stream);
  for (ByteMap& position : enc.out_position)
    position = random_nibble_encoding(stream);
  for (auto& layer : enc.layer)
    for (ByteMap& position : layer) position = random_encoding(stream);
  for (auto& layer : enc.term_mask)
    for (auto& position : layer)
      for (uint8_t& mask : position) mask = static_cast<uint8_t>(stream.next_u32());
  return enc;
}

}  // namespace zel_wbgen
