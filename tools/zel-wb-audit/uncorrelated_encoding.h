// uncorrelated_encoding.h: byte bijections with no single-bit correlation,
// the encodings of the white-box core's first generation (the audit's
// weak model "uncorrelated" traces through them).
//
// uncorrelated_encoding returns a bijection E with every Walsh coefficient
// at single-bit masks zero: sum over x of (-1)^(x_i ^ E(x)_o) = 0 for all
// input bits i and output bits o, so that no output bit of E correlates
// with any input bit. It is drawn from |rng| (deterministic for a fixed
// seed) and checked before it is returned (aborts otherwise).
//
// Not constant time; host tool only.
#ifndef ZEL_WB_AUDIT_UNCORRELATED_ENCODING_H
#define ZEL_WB_AUDIT_UNCORRELATED_ENCODING_H

#include <array>
#include <cstdint>
#include <random>

namespace zel_audit {

using ByteTable = std::array<uint8_t, 256>;

ByteTable uncorrelated_encoding(std::mt19937& rng);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_UNCORRELATED_ENCODING_H
