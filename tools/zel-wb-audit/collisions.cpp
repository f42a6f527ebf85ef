// collisions.cpp: chosen-input collision attacks on traced values (Rivain
// and Wang, TCHES 2019), knowing nothing of the design.
//
// Two input bytes j1, j2 that land in one column of the first round's
// MixColumns are varied, the other fourteen are fixed. A traced value that
// is any fixed bijection of a * F(x1 ^ k1) ^ b * F(x2 ^ k2) ^ const (F the
// S-box for encryption, the inverse S-box for decryption; a, b column
// coefficients) collides between two inputs exactly when that sum does.
// For every traced location, the collisions among the inputs sieve the
// 2^16 guesses of (k1, k2) for each coefficient ratio; a location whose
// collisions leave one guess votes for it. Locations whose collisions
// contradict the model (equal x1 or x2 with a different other byte) are
// skipped. Eight pairs of input bytes give the 16 key bytes of the first
// round (encryption: the first round key, which is the AES-128 key;
// decryption: the last round key).
#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <map>
#include <unordered_map>

#include "aes_util.h"
#include "attacks.h"
#include "trace_hook.h"

namespace zel_audit {
namespace {

struct Input {
  uint8_t x1, x2;
};

// sieve returns the surviving (k1, k2) guesses for one location's
// collisions under coefficients (a, b), or none if more than one remains.
bool sieve(const uint8_t* Fa, const uint8_t* Fb,
           const std::vector<std::pair<Input, Input>>& coll, uint8_t& k1_out,
           uint8_t& k2_out) {
  unsigned found = 0;
  for (unsigned k1 = 0; k1 < 256; ++k1)
    for (unsigned k2 = 0; k2 < 256; ++k2) {
      bool ok = true;
      for (const auto& [p, q] : coll) {
        const uint8_t lhs = Fa[p.x1 ^ k1] ^ Fb[p.x2 ^ k2];
        const uint8_t rhs = Fa[q.x1 ^ k1] ^ Fb[q.x2 ^ k2];
        if (lhs != rhs) {
          ok = false;
          break;
        }
      }
      if (ok) {
        if (++found > 1) return false;
        k1_out = static_cast<uint8_t>(k1);
        k2_out = static_cast<uint8_t>(k2);
      }
    }
  return found == 1;
}

// clear_winner returns the guess with three votes or more and twice the
// runner-up's, or -1.
int clear_winner(const std::map<uint8_t, unsigned>& votes) {
  unsigned best = 0, second = 0;
  int guess = -1;
  for (auto& [k, v] : votes) {
    if (v > best)
      second = best, best = v, guess = k;
    else if (v > second)
      second = v;
  }
  return best >= 3 && best >= 2 * second ? guess : -1;
}

}  // namespace

std::vector<Outcome> run_collisions(Target& target, const Settings& settings,
                                    const std::vector<uint8_t>& raw_key,
                                    bool all_layers) {
  const auto start = std::chrono::steady_clock::now();
  const bool dec = target.decrypts();
  const uint8_t* F = dec ? inv_sbox() : sbox();
  const auto truth = round_keys(raw_key);
  const std::vector<uint8_t>& aim = dec ? truth[target.rounds()] : truth[0];
  // Every traced value of a block is kept per input: the all-layer search
  // takes at most 1,024 inputs per pair of bytes (8,192 in all).
  const unsigned per_pair =
      std::max(16u, all_layers ? std::min(settings.chosen / 8, 1024u)
                               : settings.chosen / 8);
  const unsigned last_layer = all_layers ? target.rounds() - 1 : 0;
  // The coefficients of a column: {1, 2, 3} (encryption) or {9, 11, 13,
  // 14} (decryption); scaled_F[i][x] = coefs[i] * F(x).
  const std::vector<uint8_t> coefs =
      dec ? std::vector<uint8_t>{9, 11, 13, 14} : std::vector<uint8_t>{1, 2, 3};
  std::vector<std::array<uint8_t, 256>> scaled_F(coefs.size());
  for (size_t i = 0; i < coefs.size(); ++i)
    for (unsigned x = 0; x < 256; ++x) scaled_F[i][x] = gmul(coefs[i], F[x]);

  // votes[j][k]: locations that picked k for input byte j.
  std::vector<std::map<uint8_t, unsigned>> votes(16);
  unsigned used = 0;
  TraceRecorder recorder;
  // sieve_locations adds, per traced location whose collisions fit the
  // model, a vote for the one (k1, k2) left by the sieve.
  const auto sieve_locations =
      [&](const std::vector<Input>& inputs,
          const std::vector<std::vector<uint8_t>>& traces,
          std::map<uint8_t, unsigned>(&out)[2]) {
        const size_t length = traces[0].size();
        for (size_t t = 0; t < length; ++t) {
          std::unordered_map<uint8_t, std::vector<unsigned>> buckets;
          for (unsigned n = 0; n < inputs.size(); ++n) {
            if (traces[n].size() != length) return;  // not aligned
            buckets[traces[n][t]].push_back(n);
          }
          std::vector<std::pair<Input, Input>> coll;
          bool fits = true;
          // Up to 64 colliding pairs per location: enough to reject a
          // location that contradicts the model and to sieve the guesses.
          for (auto& [v, list] : buckets)
            for (size_t a = 0; a < list.size() && fits && coll.size() < 64; ++a)
              for (size_t b = a + 1;
                   b < list.size() && fits && coll.size() < 64; ++b) {
                const Input p = inputs[list[a]], q = inputs[list[b]];
                if (p.x1 == q.x1 && p.x2 == q.x2) continue;
                fits = p.x1 != q.x1 && p.x2 != q.x2;
                coll.emplace_back(p, q);
              }
          if (!fits || coll.size() < 4) continue;
          if (coll.size() > 24) coll.resize(24);
          for (size_t a = 0; a < coefs.size(); ++a)
            for (size_t b = 0; b < coefs.size(); ++b) {
              uint8_t k1, k2;
              if (sieve(scaled_F[a].data(), scaled_F[b].data(), coll, k1, k2)) {
                ++out[0][k1];
                ++out[1][k2];
              }
            }
        }
      };
  for (unsigned c = 0; c < 4; ++c)
    for (unsigned half = 0; half < 2; ++half) {
      // Input bytes of rows 2*half and 2*half+1 that meet in column c.
      unsigned j[2];
      for (unsigned h = 0; h < 2; ++h) {
        const unsigned m = 2 * half + h;
        j[h] = dec ? m + 4 * ((c - m) & 3) : m + 4 * ((c + m) & 3);
      }
      uint8_t base[16];
      random_block(base);
      std::vector<Input> inputs;
      std::vector<std::vector<uint8_t>> traces;
      // Inputs are added in doublings from 32 until both bytes have a
      // clear winner (three votes or more, twice the runner-up's) or the
      // budget is spent. Among every traced value a few locations that do
      // not follow the model can agree on a wrong pair while collisions
      // are few, so that search stops only on the same winners twice in a
      // row.
      std::map<uint8_t, unsigned> pair_votes[2];
      std::pair<int, int> before{-1, -1};
      for (unsigned want = 32;; want *= 2) {
        while (inputs.size() < std::min(want, per_pair)) {
          uint8_t in[16], out[16], fresh[16];
          random_block(fresh);
          const Input x{fresh[0], fresh[1]};
          std::memcpy(in, base, 16);
          in[j[0]] = x.x1;
          in[j[1]] = x.x2;
          recorder.clear();
          target.run(in, out);
          ++used;
          inputs.push_back(x);
          traces.push_back(recorder.window(0, last_layer));
        }
        pair_votes[0].clear();
        pair_votes[1].clear();
        sieve_locations(inputs, traces, pair_votes);
        const std::pair<int, int> now{clear_winner(pair_votes[0]),
                                      clear_winner(pair_votes[1])};
        if (now.first >= 0 && now.second >= 0 && (!all_layers || now == before))
          break;
        before = now;
        if (inputs.size() >= per_pair) break;
      }
      for (unsigned h = 0; h < 2; ++h)
        for (auto& [k, v] : pair_votes[h]) votes[j[h]][k] += v;
    }
  // A byte is decided when one guess has more votes than any other.
  std::vector<uint8_t> first(16);
  std::vector<bool> decided(16);
  for (unsigned i = 0; i < 16; ++i) {
    unsigned best = 0;
    for (auto& [k, v] : votes[i]) {
      if (v > best)
        best = v, first[i] = k, decided[i] = true;
      else if (v == best)
        decided[i] = false;
    }
  }
  Outcome o;
  o.family = all_layers ? "tcollision" : "collision";
  o.attack =
      all_layers ? "collisions, every traced value" : "collisions, first round";
  const unsigned round = dec ? target.rounds() : 0;
  set_found(o, aim_name(round, target.key_len()), first, aim, decided);
  if (target.key_len() == 16 && o.whole()) {
    const auto key =
        dec ? key_from_last_round_keys(16, nullptr, first.data()) : first;
    if (key_works(target, key)) {
      set_found(o, "key", key, raw_key);
      o.detail = "key verified on the target";
    }
  }
  o.cost = std::to_string(used) + " chosen inputs";
  o.seconds = seconds_since(start);
  return {o};
}

}  // namespace zel_audit
