// core_encodings.h: the secret encodings of one copy of a direction, drawn
// from the seed. Tables are then built from these (forward_tables,
// inverse_tables, direction_tables); nothing else is random.
//
// See whitebox/runtime/wb_tables.h for the names (KE, U, E, G, A, B, R, H,
// Q, N). Byte encodings are random bijections (the forms of key-dependent
// bytes without extreme single-bit correlations, random_state_encoding);
// the forms that go through nibble XOR tables (U, H, Q, N, N[i]) are
// random nibble encodings. The MixColumns term forms G[d] are drawn as Z[d] composed with
// the inverse multiplication by the column coefficient, so that what a
// table outputs, G[d](c * S(y)) = Z[d](S(y)), carries the S-box output
// through one random byte bijection.
#ifndef ZEL_WHITEBOX_GENERATOR_CORE_ENCODINGS_H
#define ZEL_WHITEBOX_GENERATOR_CORE_ENCODINGS_H

#include <array>
#include <cstdint>

#include "byte_bijection.h"
#include "chacha20_stream.h"
#include "wb_tables.h"

namespace zel_wbgen {

using zel_whitebox::kCopies;
using zel_whitebox::kLayers;

// DirectionEncodings: the forms of one copy of a direction. |coefficients|
// are the MixColumns (or InvMixColumns) column coefficients c[d], where row
// m takes c[(j - m) mod 4] times the byte of row j.
//
// term_mask[l][i][m] is XORed into the term that state byte i of layer l
// gives row m, before G[d]: the column-sum XOR tables are shared by all
// layers and positions of a copy, and the masks make the values they see
// differ per layer and position. The re-encoding into the next layer
// removes the masks' XOR.
struct DirectionEncodings {
  ByteMap entry;                          // U
  std::array<ByteMap, 4> term;            // G[d]
  ByteMap half_a, half_b, sum;            // A, B, R
  ByteMap sbox_in, sbox_out;              // H, Q
  ByteMap out;                            // N
  std::array<ByteMap, 16> out_position;   // N[i]
  std::array<std::array<ByteMap, 16>, kLayers> layer;  // E[l][i]
  std::array<std::array<std::array<uint8_t, 4>, 16>, kLayers - 1> term_mask;
  // term_linear[l][pos] is a random linear bijection of GF(2)^8 applied to
  // every term summed into output byte pos of layer l (the XOR tables see
  // L(t0) ^ L(t1) = L(t0 ^ t1); the re-encoding undoes it). The terms of a
  // state byte thus reach the shared term forms G[d] through a composition
  // of their own per layer and position, so the 16 positions do not share
  // one single-bit correlation spectrum.
  std::array<std::array<ByteMap, 16>, kLayers - 1> term_linear;
  bool inverse;  // InvShiftRows/InvMixColumns (else ShiftRows/MixColumns)
};

DirectionEncodings draw_direction(ChaCha20Stream& stream,
                                  const uint8_t coefficients[4],
                                  bool inverse);

// random_linear_map draws an invertible GF(2)-linear map of a byte.
ByteMap random_linear_map(ChaCha20Stream& stream);

// column_dest is the column that (Inv)ShiftRows moves state byte |i| to.
unsigned column_dest(bool inverse, unsigned i);

// column_source is the state byte that (Inv)ShiftRows brings to (row,
// col), as the runtime's forward_source / inverse_source.
unsigned column_source(bool inverse, unsigned row, unsigned col);

extern const uint8_t kMixCoefficients[4];     // 2, 3, 1, 1
extern const uint8_t kInvMixCoefficients[4];  // 14, 11, 13, 9

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_CORE_ENCODINGS_H
