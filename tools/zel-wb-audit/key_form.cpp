// key_form.cpp: key-form analysis of the static tables, knowing nothing
// of their layout: the region is scanned at every 64-byte boundary (16 for
// nibble tables).
//
// Group tables (group_tables.h): XOR in one encoding E, byte-wide (64 KiB)
// or as a pair of nibble tables. A group table alone tells E up to a
// linear map; two routes fix that map:
//   - plain key-dependent output: a 64 KiB table whose rows differ by a
//     constant XOR (T[r][c] = f(c) ^ g(r)) outputs g(r) in plain; if g is
//     a homomorphism of the group, D(x) = g(x) ^ g(e) decodes E;
//   - an encoded S-box: a 256-byte permutation Z = E S E^-1. From
//     E(0) = e, E(S^n(0)) = Z^n(e) along the S-box's cycle through 0
//     (59 values, which span all bytes), and the group table extends E
//     linearly; Z and E must then agree on all 256 values.
// Route to the key: every block of 16 (or 32) consecutive 256-byte
// permutations is then tried as a per-position table applied to the
// protected key; a candidate raw key counts only if the target computes AES
// under it.
#include <algorithm>
#include <array>
#include <chrono>
#include <string>

#include "aes_util.h"
#include "attacks.h"
#include "group_tables.h"

namespace zel_audit {
namespace {

using Decoding = std::array<uint8_t, 256>;  // D = E^-1

bool is_permutation(const uint8_t* p) {
  uint8_t seen[256] = {};
  for (unsigned i = 0; i < 256; ++i)
    if (seen[p[i]]++) return false;
  return true;
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

bool from_plain_output(const GroupXor& g, const uint8_t* x, Decoding& d) {
  for (unsigned v = 0; v < 256; ++v)
    d[v] = (x[v * 256] ^ x[0]) ^ (x[g.identity * 256] ^ x[0]);
  for (unsigned a = 0; a < 256; a += 7)
    for (unsigned b = 0; b < 256; b += 13)
      if (d[g.apply(a, b)] != (d[a] ^ d[b])) return false;
  return is_permutation(d.data());
}

bool from_encoded_sbox(const GroupXor& g, const uint8_t* z, Decoding& d) {
  std::array<int, 256> e;  // E, built on a growing subspace
  e.fill(-1);
  e[0] = g.identity;
  std::vector<uint8_t> span{0};
  uint8_t x = 0, y = g.identity;
  do {
    x = sbox()[x];
    y = z[y];
    if (e[x] >= 0) {
      if (e[x] != y) return false;
      continue;
    }
    for (size_t i = 0, n = span.size(); i < n; ++i) {
      const uint8_t s = span[i];
      e[s ^ x] = g.apply(static_cast<uint8_t>(e[s]), y);
      span.push_back(static_cast<uint8_t>(s ^ x));
    }
  } while (x != 0);
  if (span.size() != 256) return false;
  for (unsigned v = 0; v < 256; ++v)
    if (z[e[v]] != e[sbox()[v]]) return false;
  d.fill(0);
  std::array<bool, 256> hit{};
  for (unsigned v = 0; v < 256; ++v) {
    if (hit[e[v]]) return false;
    hit[e[v]] = true;
    d[e[v]] = static_cast<uint8_t>(v);
  }
  return true;
}

}  // namespace

std::vector<Outcome> run_key_form(Target& target,
                                  const std::vector<uint8_t>& protected_key,
                                  const std::vector<uint8_t>& raw_key) {
  const auto start = std::chrono::steady_clock::now();
  const Region tables = target.tables();
  const GroupScan scan = find_group_tables(tables);
  std::vector<size_t> plain;      // XOR-separable tables
  std::vector<size_t> perms;      // 256-byte permutations
  std::vector<size_t> perm_runs;  // 16 or 32 of them in a row
  const unsigned key_len = target.key_len();
  for (size_t off = 0; off + 256 <= tables.size; off += 64) {
    const uint8_t* t = tables.base + off;
    if (off + 65536 <= tables.size && separable(t)) plain.push_back(off);
    if (is_permutation(t)) perms.push_back(off);
    if (off + 256 * key_len <= tables.size) {
      bool run = true;
      for (unsigned j = 0; j < key_len && run; ++j)
        run = is_permutation(t + 256 * j);
      if (run) perm_runs.push_back(off);
    }
  }
  std::vector<Decoding> decodings;  // distinct ones
  const auto keep = [&](const Decoding& d) {
    if (std::find(decodings.begin(), decodings.end(), d) == decodings.end())
      decodings.push_back(d);
  };
  for (const GroupXor& g : scan.groups) {
    Decoding d;
    for (size_t off : plain)
      if (from_plain_output(g, tables.base + off, d)) keep(d);
    for (size_t off : perms)
      if (from_encoded_sbox(g, tables.base + off, d)) keep(d);
  }
  std::vector<uint8_t> found;
  unsigned tried = 0;
  for (const Decoding& d : decodings) {
    for (size_t off : perm_runs) {
      std::vector<uint8_t> key(key_len);
      for (unsigned j = 0; j < key_len; ++j)
        key[j] = d[tables.base[off + 256 * j + protected_key[j]]];
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
  o.family = "keyform";
  set_found(o, "key", found, raw_key);
  o.cost = std::to_string(tables.size) + " table bytes, " +
           std::to_string(tried) + " keys tried";
  o.seconds = seconds_since(start);
  o.detail = std::to_string(scan.byte_tables) + " group tables (64 KiB), " +
             std::to_string(scan.nibble_tables) + " nibble group tables of " +
             std::to_string(scan.latin_squares) + " 16x16 Latin squares, " +
             std::to_string(plain.size()) +
             " with plain key-dependent output, " +
             std::to_string(decodings.size()) + " decodings";
  return {o};
}

}  // namespace zel_audit
