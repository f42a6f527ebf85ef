// byte_bijection.cpp: see byte_bijection.h.
#include "byte_bijection.h"

#include <utility>

#include "aes_reference.h"

namespace zel_wbgen {
namespace {

constexpr unsigned kRejectionsBeforeKick = 4096;
// The cost of one coefficient at +-4.
constexpr int64_t kLastDefectCost = 16;

int sign_of(unsigned bit) { return bit ? -1 : 1; }

// Walsh coefficients W[in][out] = sum_x (-1)^(x_in ^ map(x)_out).
using Walsh = std::array<std::array<int, 8>, 8>;

Walsh walsh_of(const ByteMap& map) {
  Walsh w{};
  for (unsigned x = 0; x < 256; ++x)
    for (unsigned i = 0; i < 8; ++i)
      for (unsigned o = 0; o < 8; ++o)
        w[i][o] += sign_of(((x >> i) ^ (map[x] >> o)) & 1);
  return w;
}

// Balancer runs the search of random_encoding over one map.
class Balancer {
 public:
  explicit Balancer(ByteMap& map) : map_(map), walsh_(walsh_of(map)) {
    cost_ = cost_of(walsh_);
  }

  int64_t cost() const { return cost_; }

  // try_swap swaps the images of a and b when that does not raise the
  // cost (or unconditionally when |force|); tells whether it swapped. Only
  // coefficients whose input bit differs between a and b and whose output
  // bit differs between their images change, each by 4 in magnitude.
  bool try_swap(unsigned a, unsigned b, bool force) {
    const unsigned ya = map_[a], yb = map_[b];
    const unsigned in_diff = a ^ b, out_diff = ya ^ yb;
    int64_t delta = 0;
    for (unsigned i = 0; i < 8; ++i) {
      if (!((in_diff >> i) & 1)) continue;
      for (unsigned o = 0; o < 8; ++o) {
        if (!((out_diff >> o) & 1)) continue;
        const int d = -4 * sign_of(((a >> i) ^ (ya >> o)) & 1);
        delta += 2 * static_cast<int64_t>(walsh_[i][o]) * d + d * d;
      }
    }
    if (!force && delta > 0) return false;
    for (unsigned i = 0; i < 8; ++i) {
      if (!((in_diff >> i) & 1)) continue;
      for (unsigned o = 0; o < 8; ++o)
        if ((out_diff >> o) & 1)
          walsh_[i][o] += -4 * sign_of(((a >> i) ^ (ya >> o)) & 1);
    }
    std::swap(map_[a], map_[b]);
    cost_ += delta;
    return true;
  }

  // fix_last_defect handles the usual dead end of the descent: a single
  // coefficient left at +-4, which only a swap of two inputs differing in
  // that one input bit whose images differ in that one output bit could
  // clear. It looks for two such swaps (images differing in the output bit
  // and one more, then in that one more) that together lower the cost.
  bool fix_last_defect() {
    unsigned in_bit = 8, out_bit = 8;
    for (unsigned i = 0; i < 8; ++i)
      for (unsigned o = 0; o < 8; ++o)
        if (walsh_[i][o] != 0) in_bit = i, out_bit = o;
    if (in_bit == 8) return false;
    const int64_t before = cost_;
    const unsigned flip = 1u << in_bit;
    // Pairs (x, x | flip) by the difference of their images.
    std::array<std::array<uint8_t, 128>, 256> by_diff;
    std::array<unsigned, 256> count{};
    for (unsigned x = 0; x < 256; ++x) {
      if (x & flip) continue;
      const unsigned diff = map_[x] ^ map_[x | flip];
      by_diff[diff][count[diff]++] = static_cast<uint8_t>(x);
    }
    for (unsigned a = 0; a < 256; ++a) {
      if (a & flip) continue;
      const unsigned want = map_[a] ^ map_[a | flip] ^ (1u << out_bit);
      for (unsigned n = 0; n < count[want]; ++n) {
        const unsigned c = by_diff[want][n];
        if (c == a) continue;
        try_swap(a, a | flip, true);
        if (try_swap(c, c | flip, false) && cost_ < before) return true;
        try_swap(a, a | flip, true);  // undo
      }
    }
    return false;
  }

 private:
  static int64_t cost_of(const Walsh& w) {
    int64_t cost = 0;
    for (const auto& row : w)
      for (int v : row) cost += static_cast<int64_t>(v) * v;
    return cost;
  }

  ByteMap& map_;
  Walsh walsh_;
  int64_t cost_;
};

}  // namespace

ByteMap random_encoding(ChaCha20Stream& stream) {
  ByteMap map;
  for (unsigned i = 0; i < 256; ++i) map[i] = static_cast<uint8_t>(i);
  for (unsigned i = 255; i > 0; --i)
    std::swap(map[i], map[stream.uniform(i + 1)]);

  // Descent on the sum of squared coefficients by random transpositions; a
  // swap is kept when it does not raise the sum, so the search crosses
  // plateaus. After a long run of rejected swaps the search is stuck: it
  // tries the two-swap repair of a last defect, else takes one swap
  // unconditionally and goes on.
  Balancer balancer(map);
  unsigned rejected = 0;
  bool changed = true;  // since the last repair attempt
  while (balancer.cost() != 0) {
    if (changed && balancer.cost() <= kLastDefectCost) {
      changed = false;
      if (balancer.fix_last_defect()) continue;
    }
    // Half of the proposals swap two inputs that differ in one bit: such a
    // swap touches one row of coefficients only and is far more often an
    // improvement, which makes the search about ten times faster.
    const unsigned a = stream.uniform(256);
    const unsigned pick = stream.uniform(512);
    const unsigned b = pick < 256 ? pick : a ^ (1u << (pick & 7));
    if (a == b) continue;
    if (balancer.try_swap(a, b, false)) {
      rejected = 0;
      changed = true;
    } else if (++rejected == kRejectionsBeforeKick) {
      rejected = 0;
      changed = balancer.try_swap(a, b, true);
    }
  }
  return map;
}

bool single_bit_correlation_free(const ByteMap& map) {
  const Walsh w = walsh_of(map);
  for (const auto& row : w)
    for (int v : row)
      if (v != 0) return false;
  return true;
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
