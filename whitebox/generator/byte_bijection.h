// byte_bijection.h: random byte bijections, the encodings of the white-box
// tables.
//
// Every encoding is a permutation of 0..255 drawn from a ChaCha20Stream and
// then balanced so that no output bit is correlated with any single input
// bit (all 64 Walsh coefficients at pairs of single-bit masks are zero).
// First-order DCA correlates single bits of a look-up output with single
// bits of a predicted intermediate; through such an encoding the correct
// key guess has zero correlation, while wrong guesses keep the small
// correlations of the S-box, so the correct guess does not stand out.
//
// Runs at build time only; no constant-time requirement.
#ifndef ZEL_WHITEBOX_GENERATOR_BYTE_BIJECTION_H
#define ZEL_WHITEBOX_GENERATOR_BYTE_BIJECTION_H

#include <array>
#include <cstdint>

#include "chacha20_stream.h"

namespace zel_wbgen {

using ByteMap = std::array<uint8_t, 256>;

// random_encoding draws a bijection with zero single-bit correlation.
ByteMap random_encoding(ChaCha20Stream& stream);

// single_bit_correlation_free tells whether every output bit of |map| is
// uncorrelated with every single input bit.
bool single_bit_correlation_free(const ByteMap& map);

ByteMap inverse_of(const ByteMap& map);

// compose returns the map x -> outer[inner[x]].
ByteMap compose(const ByteMap& outer, const ByteMap& inner);

// multiply_map is x -> c * x in GF(2^8); c != 0.
ByteMap multiply_map(uint8_t c);

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_BYTE_BIJECTION_H
