// dfa.cpp: differential fault analysis after Piret and Quisquater (CHES
// 2003), with faults placed by the look-up counter of the trace hook.
//
// Faults: a window of bytes of the table section or of the working block
// is XORed with random bytes when the first look-up of round r passes the
// hook, and restored after the block, for r from 7 to the last round. A
// scan over windows keeps the locations whose faulty outputs show the
// Piret-Quisquater shape: the 4 bytes that one column of the last
// MixColumns reaches differ, or all 16 (one such column each). Each pair of
// correct and faulty output then constrains those 4 last-round key bytes:
// F(o ^ k) ^ F(o' ^ k) must equal the column coefficients times one e
// (F the inverse S-box for encryption, the S-box for decryption, whose last
// round key is the first round key). Candidates of the first pairs are
// counted against all pairs; the best per column wins.
//
// AES-256 peels the recovered round off and repeats on the round before,
// with faults two rounds earlier; the two round keys give the raw key.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <random>
#include <unordered_map>

#include "aes_util.h"
#include "attacks.h"
#include "trace_hook.h"

namespace zel_audit {
namespace {

using Block = std::array<uint8_t, 16>;
struct Pair {
  Block good, bad;
};

// Geometry of the last round seen from the output side.
struct Side {
  bool decrypt;
  uint8_t F(uint8_t v) const { return decrypt ? sbox()[v] : inv_sbox()[v]; }
  // Output position of byte (row m, column c) of the last MixColumns.
  unsigned pos(unsigned m, unsigned c) const {
    return decrypt ? inv_shift_dest(m + 4 * c) : shift_dest(m + 4 * c);
  }
  // Coefficient of input row r in output row m.
  uint8_t coef(unsigned m, unsigned r) const {
    static const uint8_t fwd[4] = {2, 3, 1, 1}, inv[4] = {14, 11, 13, 9};
    return (decrypt ? inv : fwd)[(r - m) & 3];
  }
};

// Multiplication by the eight column coefficients and their inverses, as
// tables (the constant-time gmul is slow).
struct Field {
  uint8_t mul[256][256];
  uint8_t inv[256];
  Field() {
    for (unsigned a = 0; a < 256; ++a)
      for (unsigned b = 0; b < 256; ++b) {
        mul[a][b] = gmul(static_cast<uint8_t>(a), static_cast<uint8_t>(b));
        if (mul[a][b] == 1) inv[a] = static_cast<uint8_t>(b);
      }
    inv[0] = 0;
  }
};
const Field& field() {
  static const Field f;
  return f;
}
uint8_t ginv(uint8_t a) { return field().inv[a]; }
uint8_t fmul(uint8_t a, uint8_t b) { return field().mul[a][b]; }

// consistent: do key bytes |k| of column |c| explain the pair?
bool consistent(const Side& side, unsigned c, const uint8_t k[4],
                const Pair& p) {
  uint8_t d[4];
  for (unsigned m = 0; m < 4; ++m) {
    const unsigned j = side.pos(m, c);
    d[m] = side.F(p.good[j] ^ k[m]) ^ side.F(p.bad[j] ^ k[m]);
    if (d[m] == 0) return false;
  }
  for (unsigned r = 0; r < 4; ++r) {
    const uint8_t e = fmul(d[0], ginv(side.coef(0, r)));
    bool all = true;
    for (unsigned m = 1; m < 4 && all; ++m)
      all = fmul(side.coef(m, r), e) == d[m];
    if (all) return true;
  }
  return false;
}

void candidates(const Side& side, unsigned c, const Pair& p,
                std::vector<uint32_t>& out) {
  for (unsigned r = 0; r < 4; ++r) {
    // by_e[m][e]: key bytes k with F(o^k)^F(o'^k) = coef * e.
    std::vector<uint8_t> by_e[4][256];
    for (unsigned m = 0; m < 4; ++m) {
      const unsigned j = side.pos(m, c);
      const uint8_t inv_coef = ginv(side.coef(m, r));
      for (unsigned k = 0; k < 256; ++k) {
        const uint8_t d = side.F(p.good[j] ^ k) ^ side.F(p.bad[j] ^ k);
        by_e[m][fmul(d, inv_coef)].push_back(static_cast<uint8_t>(k));
      }
    }
    for (unsigned e = 1; e < 256; ++e)
      for (uint8_t k0 : by_e[0][e])
        for (uint8_t k1 : by_e[1][e])
          for (uint8_t k2 : by_e[2][e])
            for (uint8_t k3 : by_e[3][e])
              out.push_back(k0 | k1 << 8 | k2 << 16 | uint32_t(k3) << 24);
  }
}

// columns_hit: bit c set when all 4 output bytes of column c differ; -1 if
// some column differs only partly (not the fault shape).
int columns_hit(const Side& side, const Pair& p) {
  int hit = 0;
  for (unsigned c = 0; c < 4; ++c) {
    unsigned n = 0;
    for (unsigned m = 0; m < 4; ++m)
      n += p.good[side.pos(m, c)] != p.bad[side.pos(m, c)];
    if (n == 4)
      hit |= 1 << c;
    else if (n != 0)
      return -1;
  }
  return hit;
}

// solve returns the 16 last-round key bytes in |key| and marks in
// |decided| those of the columns it found (the others are left 0).
void solve(const Side& side, const std::vector<Pair>& pairs, Block& key,
           std::vector<bool>& decided) {
  decided.assign(16, false);
  for (unsigned c = 0; c < 4; ++c) {
    std::vector<const Pair*> usable;
    for (const Pair& p : pairs) {
      const int hit = columns_hit(side, p);
      if (hit > 0 && (hit >> c & 1)) usable.push_back(&p);
    }
    if (usable.size() < 2) continue;
    std::unordered_map<uint32_t, unsigned> votes;
    std::vector<uint32_t> cand;
    for (size_t i = 0; i < usable.size() && i < 4; ++i) {
      cand.clear();
      candidates(side, c, *usable[i], cand);
      for (uint32_t k : cand) votes.emplace(k, 0);
    }
    uint32_t best = 0;
    unsigned best_votes = 0, ties = 0;
    for (auto& [k, v] : votes) {
      const uint8_t kb[4] = {uint8_t(k), uint8_t(k >> 8), uint8_t(k >> 16),
                             uint8_t(k >> 24)};
      for (const Pair* p : usable) v += consistent(side, c, kb, *p);
      if (v > best_votes)
        best = k, best_votes = v, ties = 0;
      else if (v == best_votes)
        ++ties;
    }
    if (best_votes < 2 || ties != 0) continue;
    for (unsigned m = 0; m < 4; ++m) {
      key[side.pos(m, c)] = static_cast<uint8_t>(best >> (8 * m));
      decided[side.pos(m, c)] = true;
    }
  }
}

bool all_of(const std::vector<bool>& v) {
  for (bool b : v)
    if (!b) return false;
  return true;
}

// A fault campaign: scans windows of |region| with faults fired at
// |layer|, keeps shaped pairs, stops at |budget| injections or when every
// column has enough pairs. |view| maps an output block into the domain the
// solver works in (identity for the last round, peeled for the next).
struct Campaign {
  Target& target;
  Side side;
  std::function<Block(const Block&)> view;
  unsigned injections = 0;

  void collect(Region region, int layer, unsigned budget,
               std::vector<Pair>& pairs) {
    std::mt19937 rng(layer * 7919 + static_cast<unsigned>(region.size));
    // Windows of 256 bytes; smaller in small regions (the weak models).
    const size_t window =
        std::max<size_t>(1, std::min<size_t>(256, region.size / 64));
    // Locations: every window with each kind of fault, in random order.
    // Kinds: 0 random XOR; 1 and 4: stuck at the window's first byte or
    // first 4-byte entry (a whole row then yields one valid entry, so the
    // terms it feeds stay consistent with each other).
    std::vector<std::pair<size_t, unsigned>> locations;
    for (size_t off = 0; off + window <= region.size; off += window)
      for (unsigned kind : {0u, 1u, 4u}) locations.emplace_back(off, kind);
    std::shuffle(locations.begin(), locations.end(), rng);
    unsigned per_column[4] = {};
    const unsigned want = 8;
    for (auto [off, kind] : locations) {
      if (injections >= budget) return;
      uint8_t* at = region.base + off;
      std::vector<uint8_t> mask(window);
      for (size_t i = 0; i < window; ++i)
        mask[i] =
            kind == 0 ? static_cast<uint8_t>(rng() | 1) : at[i] ^ at[i % kind];
      unsigned misses = 0;
      for (unsigned t = 0; t < 24 && injections < budget; ++t) {
        uint8_t in[16];
        Block good{}, bad{};
        random_block(in);
        target.run(in, good.data());
        {
          TimedFault fault(at, mask, layer);
          fault.arm();
          target.run(in, bad.data());
          ++injections;
          fault.disarm();
        }
        if (layer < 0) target.reset();
        if (good == bad && t == 0) break;  // not read after the trigger
        const Pair p{view(good), view(bad)};
        const int hit = columns_hit(side, p);
        if (hit <= 0) {
          if (++misses >= 2) break;  // not the fault shape here
          continue;
        }
        pairs.push_back(p);
        for (unsigned c = 0; c < 4; ++c) per_column[c] += hit >> c & 1;
      }
      if (per_column[0] >= want && per_column[1] >= want &&
          per_column[2] >= want && per_column[3] >= want)
        return;
    }
  }
};

}  // namespace

std::vector<Outcome> run_dfa(Target& target, const Settings& settings,
                             const std::vector<uint8_t>& raw_key) {
  std::vector<Outcome> outcomes;
  const auto truth = round_keys(raw_key);
  const unsigned rounds = target.rounds();
  const Side side{target.decrypts()};
  for (const char* where : {"tables", "work"}) {
    const bool in_tables = std::strcmp(where, "tables") == 0;
    for (unsigned round = 7; round <= rounds; ++round) {
      const auto start = std::chrono::steady_clock::now();
      Campaign campaign{target, side, [](const Block& b) { return b; }};
      std::vector<Pair> pairs;
      campaign.collect(in_tables ? target.tables() : target.work(),
                       static_cast<int>(round) - 1, settings.faults, pairs);
      target.reset();
      Block last{};
      std::vector<bool> decided;
      solve(side, pairs, last, decided);
      const std::vector<uint8_t> last_vec(last.begin(), last.end());
      const unsigned last_round = target.decrypts() ? 0 : rounds;
      Outcome o;
      o.family = "dfa";
      o.attack = std::string("DFA, faults in ") +
                 (in_tables ? "tables" : "working block") + ", round " +
                 std::to_string(round);
      set_found(o, aim_name(last_round, target.key_len()), last_vec,
                truth[last_round], decided);
      std::vector<uint8_t> key;
      if (rounds == 10) {
        // Checked even when columns are missing (they stay 0): the check
        // draws from the run's input sequence, which later attacks share.
        key = target.decrypts()
                  ? last_vec
                  : key_from_last_round_keys(16, nullptr, last.data());
      } else if (rounds == 14 && all_of(decided) && round >= 12) {
        // AES-256: peel the round found and attack the one before it with
        // faults two rounds earlier.
        Campaign second{target, side, [&](const Block& b) {
                          Block v = b;
                          for (unsigned i = 0; i < 16; ++i) v[i] ^= last[i];
                          if (side.decrypt) {
                            // p -> MC(SR(S(p ^ k0)))
                            for (auto& x : v) x = sbox()[x];
                            shift_rows(v.data());
                            mix_columns(v.data());
                          } else {
                            // c -> InvMC(InvS(InvSR(c ^ k14)))
                            inv_shift_rows(v.data());
                            for (auto& x : v) x = inv_sbox()[x];
                            inv_mix_columns(v.data());
                          }
                          return v;
                        }};
        std::vector<Pair> pairs2;
        second.collect(in_tables ? target.tables() : target.work(),
                       static_cast<int>(round) - 2, settings.faults, pairs2);
        target.reset();
        campaign.injections += second.injections;
        Block next{};
        std::vector<bool> next_decided;
        solve(side, pairs2, next, next_decided);
        if (all_of(next_decided)) {
          if (side.decrypt) {
            // The peeled domain holds InvMC-free k1 directly.
            key.assign(last.begin(), last.end());
            key.insert(key.end(), next.begin(), next.end());
          } else {
            mix_columns(next.data());  // k13 = MC(k13')
            key = key_from_last_round_keys(32, next.data(), last.data());
          }
        }
      }
      if (!key.empty() && key_works(target, key)) {
        set_found(o, "key", key, raw_key);
        o.detail = "key verified on the target";
      }
      o.cost = std::to_string(campaign.injections) + " faults, " +
               std::to_string(pairs.size()) + " usable outputs";
      o.seconds = seconds_since(start);
      outcomes.push_back(o);
    }
  }
  return outcomes;
}

}  // namespace zel_audit
