// byte_bijection.h: random byte bijections, the encodings of the white-box
// tables.
//
// Every encoding is a uniformly random permutation of 0..255 drawn from a
// ChaCha20Stream, nothing more. (An earlier generator picked permutations
// without single-bit correlation; that absence is itself a signal, which
// DCA ranking guesses by the lowest correlation found within a few hundred
// traces. A plain random bijection makes the right key guess look like a
// wrong one.)
//
// Runs at build time only; no constant-time requirement.
#ifndef ZEL_WHITEBOX_GENERATOR_BYTE_BIJECTION_H
#define ZEL_WHITEBOX_GENERATOR_BYTE_BIJECTION_H

#include <array>
#include <cstdint>

#include "chacha20_stream.h"

namespace zel_wbgen {

using ByteMap = std::array<uint8_t, 256>;

// random_encoding draws a uniformly random bijection of a byte.
ByteMap random_encoding(ChaCha20Stream& stream);

// random_state_encoding draws a random bijection again while one of its
// output bits correlates with an input bit beyond 1/4 (|Walsh coefficient|
// above 64: about four standard deviations for a random bijection, one
// draw in a few hundred). Such an outlier on a key-dependent byte ranks the
// right key guess first in DCA (seen on one state form of the last round);
// the cap trims only that tail, so the right guess still looks like a
// wrong one, not like an uncorrelated one.
ByteMap random_state_encoding(ChaCha20Stream& stream);

// random_nibble_encoding draws two random 4-bit bijections and applies one
// to each half of the byte: the form of values that go through 4+4 -> 4
// bit XOR tables.
ByteMap random_nibble_encoding(ChaCha20Stream& stream);

ByteMap inverse_of(const ByteMap& map);

// compose returns the map x -> outer[inner[x]].
ByteMap compose(const ByteMap& outer, const ByteMap& inner);

// multiply_map is x -> c * x in GF(2^8); c != 0.
ByteMap multiply_map(uint8_t c);

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_BYTE_BIJECTION_H
