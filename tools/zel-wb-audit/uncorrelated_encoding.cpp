// uncorrelated_encoding.cpp: see uncorrelated_encoding.h.
//
// Descent from a random permutation by swaps of two images: the cost is the
// sum of the 64 squared single-bit Walsh coefficients, a swap is kept when
// it does not raise the cost (so the search crosses plateaus), and after a
// long run of rejected swaps one is taken anyway (the descent otherwise
// stalls on a last coefficient at +-4). About 10^5 swaps per encoding.
#include "uncorrelated_encoding.h"

#include <cstdlib>
#include <utility>

namespace zel_audit {
namespace {

using Walsh = std::array<std::array<int, 8>, 8>;  // [input bit][output bit]

// term is x's summand (+1 or -1) of the coefficient at bits i, o.
int term(unsigned x, unsigned y, unsigned i, unsigned o) {
  return ((x >> i) ^ (y >> o)) & 1 ? -1 : 1;
}

Walsh walsh_of(const ByteTable& map) {
  Walsh w{};
  for (unsigned x = 0; x < 256; ++x)
    for (unsigned i = 0; i < 8; ++i)
      for (unsigned o = 0; o < 8; ++o) w[i][o] += term(x, map[x], i, o);
  return w;
}

}  // namespace

ByteTable uncorrelated_encoding(std::mt19937& rng) {
  ByteTable map;
  for (unsigned x = 0; x < 256; ++x) map[x] = static_cast<uint8_t>(x);
  for (unsigned x = 255; x > 0; --x) std::swap(map[x], map[rng() % (x + 1)]);
  Walsh w = walsh_of(map);
  long cost = 0;
  for (const auto& row : w)
    for (int v : row) cost += v * v;
  unsigned rejected = 0;
  while (cost != 0) {
    // Half of the proposals swap inputs one bit apart: such a swap moves
    // one row of coefficients only and improves far more often.
    const unsigned a = rng() & 255, pick = rng() & 511;
    const unsigned b = pick < 256 ? pick : a ^ (1u << (pick & 7));
    if (a == b) continue;
    // Swapping the images of a and b moves coefficient (i, o) by
    // -2 * term(a) * 2 when a, b differ in bit i and their images in bit o.
    const unsigned in_diff = a ^ b, out_diff = map[a] ^ map[b];
    long delta = 0;
    for (unsigned i = 0; i < 8; ++i)
      for (unsigned o = 0; o < 8; ++o)
        if ((in_diff >> i) & (out_diff >> o) & 1) {
          const int d = -4 * term(a, map[a], i, o);
          delta += 2L * w[i][o] * d + d * d;
        }
    if (delta > 0 && ++rejected < 4096) continue;
    rejected = 0;
    for (unsigned i = 0; i < 8; ++i)
      for (unsigned o = 0; o < 8; ++o)
        if ((in_diff >> i) & (out_diff >> o) & 1)
          w[i][o] -= 4 * term(a, map[a], i, o);
    std::swap(map[a], map[b]);
    cost += delta;
  }
  if (walsh_of(map) != Walsh{}) std::abort();  // the property, recomputed
  return map;
}

}  // namespace zel_audit
