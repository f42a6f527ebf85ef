// core_encodings.h: the secret byte encodings of one core, drawn from the
// seed. Tables are then built from these (forward_tables, inverse_tables,
// key_tables); nothing else is random.
//
// See whitebox/runtime/wb_tables.h for the names (KE, U, E, G, A, B, R, H,
// Q). Every encoding is a random_encoding (no single-bit correlation); the
// MixColumns term forms G[d] are drawn as Z[d] composed with the inverse
// multiplication by the column coefficient, so that what a table outputs,
// G[d](c * S(y)) = Z[d](S(y)), carries the S-box output through an
// uncorrelated map.
#ifndef ZEL_WHITEBOX_GENERATOR_CORE_ENCODINGS_H
#define ZEL_WHITEBOX_GENERATOR_CORE_ENCODINGS_H

#include <array>
#include <cstdint>

#include "byte_bijection.h"
#include "chacha20_stream.h"

namespace zel_wbgen {

constexpr unsigned kLayers = 14;  // layers of AES-256; AES-128 uses 0..9

// DirectionEncodings: the forms of one direction's rounds. |coefficients|
// are the MixColumns (or InvMixColumns) column coefficients c[d], where row
// m takes c[(j - m) mod 4] times the byte of row j.
struct DirectionEncodings {
  ByteMap entry;                          // U
  std::array<ByteMap, 4> term;            // G[d]
  ByteMap half_a, half_b, sum;            // A, B, R
  ByteMap sbox_in, sbox_out;              // H, Q
  std::array<std::array<ByteMap, 16>, kLayers> layer;  // E[l][i]
};

DirectionEncodings draw_direction(ChaCha20Stream& stream,
                                  const uint8_t coefficients[4]);

extern const uint8_t kMixCoefficients[4];     // 2, 3, 1, 1
extern const uint8_t kInvMixCoefficients[4];  // 14, 11, 13, 9

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_CORE_ENCODINGS_H
