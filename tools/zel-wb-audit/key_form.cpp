// key_form.cpp: key-form analysis of the static tables, knowing nothing
// of their layout: the section zel_wb_tables is scanned at every 64-byte
// boundary.
//
// Group tables: a 64 KiB table T[a][b] whose rows are permutations, with
// an identity row (T[e][b] = b) and commutative, associative on samples, is
// XOR in some encoding: T[E(a)][E(b)] = E(a ^ b), e = E(0).
// Plain key-dependent output: a 64 KiB table whose rows differ by a
// constant XOR (T[r][c] = f(c) ^ g(r)) outputs g(r) in plain: if r is a
// key byte in some encoding, g gives it away.
// Route to the key: for a group table and an XOR-separable table whose g
// is a homomorphism of the group, D(x) = g(x) ^ g(e) decodes the group's
// encoding. Every block of 16 (or 32) consecutive 256-byte permutations
// is then tried as a per-position table applied to the protected key; a
// candidate raw key counts only if the target computes AES under it.
#include <chrono>
#include <cstring>
#include <random>
#include <string>

#include "attacks.h"

namespace zel_audit {
namespace {

constexpr size_t kXor = 65536;

bool is_permutation(const uint8_t* p) {
  uint8_t seen[256] = {};
  for (unsigned i = 0; i < 256; ++i)
    if (seen[p[i]]++) return false;
  return true;
}

// group_identity returns the identity row of a group table, or -1.
int group_identity(const uint8_t* t) {
  if (!is_permutation(t) || !is_permutation(t + 256)) return -1;
  int e = -1;
  for (unsigned r = 0; r < 256 && e < 0; ++r) {
    bool id = true;
    for (unsigned b = 0; b < 256 && id; ++b) id = t[r * 256 + b] == b;
    if (id) e = static_cast<int>(r);
  }
  if (e < 0) return -1;
  std::mt19937 rng(1);
  for (int s = 0; s < 256; ++s) {
    const unsigned a = rng() & 255, b = rng() & 255, c = rng() & 255;
    if (t[a * 256 + b] != t[b * 256 + a]) return -1;
    if (t[t[a * 256 + b] * 256 + c] != t[a * 256 + t[b * 256 + c]]) return -1;
  }
  return e;
}

// separable: rows are permutations differing by constant XORs.
bool separable(const uint8_t* t) {
  if (!is_permutation(t)) return false;
  bool varies = false;
  for (unsigned r = 1; r < 256; ++r) {
    const uint8_t d = t[r * 256] ^ t[0];
    varies = varies || d != 0;
    for (unsigned c = 1; c < 256; c += 17)
      if ((t[r * 256 + c] ^ t[c]) != d) return false;
  }
  return varies;
}

}  // namespace

std::vector<Outcome> run_key_form(Target& target,
                                  const std::vector<uint8_t>& protected_key,
                                  const std::vector<uint8_t>& raw_key) {
  const auto start = std::chrono::steady_clock::now();
  const Region tables = target.tables();
  std::vector<std::pair<size_t, int>> groups;  // offset, identity
  std::vector<size_t> plain;                   // XOR-separable tables
  std::vector<size_t> perm_runs;               // 16 or 32 permutations
  const unsigned key_len = target.key_len();
  for (size_t off = 0; off + 256 <= tables.size; off += 64) {
    const uint8_t* t = tables.base + off;
    if (off + kXor <= tables.size) {
      const int e = group_identity(t);
      if (e >= 0)
        groups.emplace_back(off, e);
      else if (separable(t))
        plain.push_back(off);
    }
    if (off + 256 * key_len <= tables.size) {
      bool run = true;
      for (unsigned j = 0; j < key_len && run; ++j)
        run = is_permutation(t + 256 * j);
      if (run) perm_runs.push_back(off);
    }
  }
  std::vector<uint8_t> found;
  unsigned tried = 0;
  for (auto [goff, e] : groups)
    for (size_t poff : plain) {
      const uint8_t* g = tables.base + goff;
      const uint8_t* x = tables.base + poff;
      uint8_t decode[256];
      for (unsigned v = 0; v < 256; ++v)
        decode[v] = (x[v * 256] ^ x[0]) ^ (x[e * 256] ^ x[0]);
      bool homomorphic = true;
      for (unsigned a = 0; a < 256 && homomorphic; a += 7)
        for (unsigned b = 0; b < 256 && homomorphic; b += 13)
          homomorphic = decode[g[a * 256 + b]] == (decode[a] ^ decode[b]);
      if (!homomorphic) continue;
      for (size_t uoff : perm_runs) {
        std::vector<uint8_t> key(key_len);
        for (unsigned j = 0; j < key_len; ++j)
          key[j] = decode[tables.base[uoff + 256 * j + protected_key[j]]];
        ++tried;
        if (key_works(target, key)) {
          found = key;
          break;
        }
      }
      if (!found.empty()) break;
    }
  Outcome o;
  o.attack = "key form, table scan";
  o.key_bytes = key_len;
  o.recovered = count_equal(found, raw_key);
  o.cost = std::to_string(tables.size) + " table bytes, " +
           std::to_string(tried) + " keys tried";
  o.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  o.detail = std::to_string(groups.size()) + " group tables, " +
             std::to_string(plain.size()) + " with plain key-dependent output";
  return {o};
}

}  // namespace zel_audit
