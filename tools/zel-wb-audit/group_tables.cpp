// group_tables.cpp: see group_tables.h.
#include "group_tables.h"

#include <random>

namespace zel_audit {
namespace {

// Up to this many distinct nibble group tables, every ordered pair is
// offered; beyond, only neighbours (the decoding costs about a microsecond
// per pair and 256-byte permutation of the region).
constexpr size_t kAllPairs = 16;

// row_is_permutation: |n| values, stride |step|, a permutation of 0..n-1.
bool row_is_permutation(const uint8_t* p, unsigned n, unsigned step) {
  uint8_t seen[256] = {};
  for (unsigned i = 0; i < n; ++i)
    if (p[i * step] >= n || seen[p[i * step]]++) return false;
  return true;
}

bool latin_square(const uint8_t* t, unsigned n) {
  for (unsigned r = 0; r < n; ++r)
    if (!row_is_permutation(t + r * n, n, 1)) return false;
  for (unsigned c = 0; c < n; ++c)
    if (!row_is_permutation(t + c, n, n)) return false;
  return true;
}

// group_identity returns E(0) of an n x n Latin square that is XOR in one
// encoding, or -1.
int group_identity(const uint8_t* t, unsigned n) {
  int e = -1;
  for (unsigned r = 0; r < n && e < 0; ++r) {
    bool identity = true;
    for (unsigned b = 0; b < n && identity; ++b) identity = t[r * n + b] == b;
    if (identity) e = static_cast<int>(r);
  }
  if (e < 0) return -1;
  for (unsigned a = 0; a < n; ++a)
    if (t[a * n + a] != e) return -1;
  std::mt19937 rng(1);
  for (int s = 0; s < 1024; ++s) {
    const unsigned a = rng() % n, b = rng() % n, c = rng() % n;
    if (t[a * n + b] != t[b * n + a]) return -1;
    if (t[t[a * n + b] * n + c] != t[a * n + t[b * n + c]]) return -1;
  }
  return e;
}

}  // namespace

GroupScan find_group_tables(const Region& tables) {
  GroupScan scan;
  std::vector<std::pair<NibbleTable, int>> nibble;
  NibbleTable plane[3];  // the bytes themselves, high nibbles, low nibbles
  for (size_t off = 0; off + 256 <= tables.size; off += 16) {
    const uint8_t* t = tables.base + off;
    if (off % 64 == 0 && off + 65536 <= tables.size && latin_square(t, 256)) {
      const int e = group_identity(t, 256);
      if (e >= 0) {
        GroupXor g;
        g.byte_table = t;
        g.identity = static_cast<uint8_t>(e);
        scan.groups.push_back(g);
        ++scan.byte_tables;
      }
    }
    for (unsigned i = 0; i < 256; ++i) {
      plane[0][i] = t[i];
      plane[1][i] = t[i] >> 4;
      plane[2][i] = t[i] & 15;
    }
    for (const NibbleTable& square : plane) {
      if (!latin_square(square.data(), 16)) continue;
      ++scan.latin_squares;
      const int e = group_identity(square.data(), 16);
      if (e >= 0) nibble.emplace_back(square, e);
    }
  }
  scan.nibble_tables = static_cast<unsigned>(nibble.size());
  // Equal tables (one form throughout) pair alike: keep the first of each;
  // a table pairs with itself too (the same form on both halves).
  std::vector<std::pair<NibbleTable, int>> distinct;
  for (const auto& t : nibble) {
    bool seen = false;
    for (const auto& d : distinct) seen = seen || d.first == t.first;
    if (!seen) distinct.push_back(t);
  }
  for (size_t h = 0; h < distinct.size(); ++h)
    for (size_t l = 0; l < distinct.size(); ++l)
      if (distinct.size() <= kAllPairs || h + 1 == l || l + 1 == h || h == l) {
        GroupXor g;
        g.high = distinct[h].first;
        g.low = distinct[l].first;
        g.identity =
            static_cast<uint8_t>(distinct[h].second << 4 | distinct[l].second);
        scan.groups.push_back(g);
      }
  return scan;
}

}  // namespace zel_audit
