// linear_decoding.cpp: linear decoding analysis (Goubin, Rivain and Wang,
// CHES 2020), degree 1 over windows of 8 traced bytes and degree 2 over
// windows of 2 traced bytes, on the first layer's look-ups.
//
// A predicted bit (bit j of F(in_i ^ k), F as in DCA) that is an affine
// (degree 1) or quadratic (degree 2) function of the window's bits lies in
// the span of the window's monomials over the traces. With N traces and m
// monomials (m < N), the traces' left null space gives N - rank parity
// checks; a predicted vector passes all of them only if it lies in the
// span (a wrong guess passes with probability 2^-(N - rank)). Masks and
// linear encodings of any kind do not hide such a bit.
#include <algorithm>
#include <array>
#include <bitset>
#include <chrono>
#include <string>

#include "aes_util.h"
#include "attacks.h"
#include "trace_hook.h"

namespace zel_audit {
namespace {

constexpr unsigned kTraces = 256;
using Column = std::bitset<kTraces>;

// null_space returns parity checks h with <h, column> = 0 for every column.
std::vector<Column> null_space(const std::vector<Column>& columns) {
  // Rows are traces: row t has bit c set when column c has bit t set.
  const size_t m = columns.size();
  std::vector<std::vector<bool>> rows(kTraces, std::vector<bool>(m));
  std::vector<Column> combo(kTraces);
  for (unsigned t = 0; t < kTraces; ++t) {
    for (size_t c = 0; c < m; ++c) rows[t][c] = columns[c][t];
    combo[t].set(t);
  }
  size_t rank = 0;
  for (size_t c = 0; c < m && rank < kTraces; ++c) {
    size_t pivot = rank;
    while (pivot < kTraces && !rows[pivot][c]) ++pivot;
    if (pivot == kTraces) continue;
    std::swap(rows[pivot], rows[rank]);
    std::swap(combo[pivot], combo[rank]);
    for (size_t r = 0; r < kTraces; ++r)
      if (r != rank && rows[r][c]) {
        for (size_t x = c; x < m; ++x) rows[r][x] = rows[r][x] ^ rows[rank][x];
        combo[r] ^= combo[rank];
      }
    ++rank;
  }
  return std::vector<Column>(combo.begin() + static_cast<long>(rank),
                             combo.end());
}

}  // namespace

std::vector<Outcome> run_lda(Target& target, const Settings& settings,
                             const std::vector<uint8_t>& raw_key) {
  (void)settings;
  const bool dec = target.decrypts();
  const uint8_t* F = dec ? inv_sbox() : sbox();
  const auto truth = round_keys(raw_key);
  const std::vector<uint8_t>& aim = dec ? truth[target.rounds()] : truth[0];
  std::vector<std::array<uint8_t, 16>> inputs(kTraces);
  std::vector<std::vector<uint8_t>> traces(kTraces);
  {
    TraceRecorder recorder;
    for (unsigned t = 0; t < kTraces; ++t) {
      uint8_t out[16];
      random_block(inputs[t].data());
      recorder.clear();
      target.run(inputs[t].data(), out);
      traces[t] = recorder.window(0, 0);
    }
  }
  // predicted[(i * 256 + k) * 8 + j]
  std::vector<Column> predicted(16 * 256 * 8);
  for (unsigned i = 0; i < 16; ++i)
    for (unsigned k = 0; k < 256; ++k)
      for (unsigned t = 0; t < kTraces; ++t) {
        const uint8_t y = F[inputs[t][i] ^ k];
        for (unsigned j = 0; j < 8; ++j)
          predicted[(i * 256 + k) * 8 + j][t] = y >> j & 1;
      }
  const size_t length = traces[0].size();
  std::vector<Outcome> outcomes;
  for (unsigned degree : {1u, 2u}) {
    const auto start = std::chrono::steady_clock::now();
    const unsigned window = degree == 1 ? 8 : 2;  // bytes
    std::vector<std::vector<unsigned>> hits(16, std::vector<unsigned>(256));
    size_t windows = 0;
    for (size_t w = 0; w + window <= length; w += window, ++windows) {
      std::vector<Column> bits(8 * window);
      for (unsigned t = 0; t < kTraces; ++t)
        for (unsigned b = 0; b < 8 * window; ++b)
          bits[b][t] = traces[t][w + b / 8] >> (b % 8) & 1;
      std::vector<Column> columns{Column().set()};  // the constant
      columns.insert(columns.end(), bits.begin(), bits.end());
      if (degree == 2)
        for (size_t a = 0; a < bits.size(); ++a)
          for (size_t b = a + 1; b < bits.size(); ++b)
            columns.push_back(bits[a] & bits[b]);
      const std::vector<Column> checks = null_space(columns);
      if (checks.size() < 32) continue;  // too few checks to trust a hit
      for (unsigned i = 0; i < 16; ++i)
        for (unsigned k = 0; k < 256; ++k)
          for (unsigned j = 0; j < 8; ++j) {
            const Column& p = predicted[(i * 256 + k) * 8 + j];
            bool in_span = true;
            for (const Column& h : checks)
              if ((h & p).count() & 1) {
                in_span = false;
                break;
              }
            if (in_span) {
              ++hits[i][k];
              break;
            }
          }
    }
    // A byte is decided when one guess has a decoding in more windows
    // than any other.
    std::vector<uint8_t> guess(16);
    std::vector<bool> decided(16);
    unsigned with_decoding = 0;
    for (unsigned i = 0; i < 16; ++i) {
      guess[i] = static_cast<uint8_t>(
          std::max_element(hits[i].begin(), hits[i].end()) - hits[i].begin());
      with_decoding += hits[i][guess[i]] > 0;
      decided[i] =
          hits[i][guess[i]] > 0 &&
          std::count(hits[i].begin(), hits[i].end(), hits[i][guess[i]]) == 1;
    }
    Outcome o;
    o.family = "lda";
    o.attack = "linear decoding, degree " + std::to_string(degree);
    set_found(o, aim_name(dec ? target.rounds() : 0, target.key_len()), guess,
              aim, decided);
    o.cost = std::to_string(kTraces) + " traces, " + std::to_string(windows) +
             " windows of " + std::to_string(window) + " bytes";
    o.seconds = seconds_since(start);
    o.detail = std::to_string(with_decoding) + " bytes with a decoding";
    outcomes.push_back(o);
  }
  return outcomes;
}

}  // namespace zel_audit
