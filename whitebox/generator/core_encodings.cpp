// core_encodings.cpp: see core_encodings.h.
#include "core_encodings.h"

namespace zel_wbgen {

const uint8_t kMixCoefficients[4] = {2, 3, 1, 1};
const uint8_t kInvMixCoefficients[4] = {14, 11, 13, 9};

DirectionEncodings draw_direction(ChaCha20Stream& stream,
                                  const uint8_t coefficients[4]) {
  DirectionEncodings enc;
  enc.entry = random_encoding(stream);
  for (unsigned d = 0; d < 4; ++d)
    enc.term[d] = compose(random_encoding(stream),
                          inverse_of(multiply_map(coefficients[d])));
  enc.half_a = random_encoding(stream);
  enc.half_b = random_encoding(stream);
  enc.sum = random_encoding(stream);
  enc.sbox_in = random_encoding(stream);
  enc.sbox_out = random_encoding(stream);
  for (auto& layer : enc.layer)
    for (ByteMap& position : layer) position = random_encoding(stream);
  return enc;
}

}  // namespace zel_wbgen
