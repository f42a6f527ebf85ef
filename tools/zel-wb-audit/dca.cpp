// dca.cpp: see dca.h.
#include "dca.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "aes_reference.h"

namespace zel_audit {
namespace {

// walsh_hadamard transforms 256 values in place (unnormalised).
void walsh_hadamard(int64_t* v) {
  for (unsigned len = 1; len < 256; len <<= 1)
    for (unsigned i = 0; i < 256; i += len << 1)
      for (unsigned j = i; j < i + len; ++j) {
        const int64_t a = v[j], b = v[j + len];
        v[j] = a + b;
        v[j + len] = a - b;
      }
}

// xor_correlate returns out[k] = sum_v f[v] * g[v ^ k], given the
// transforms of f and g.
void xor_correlate(const int64_t* f_hat, const int64_t* g_hat, int64_t* out) {
  for (unsigned i = 0; i < 256; ++i) out[i] = f_hat[i] * g_hat[i];
  walsh_hadamard(out);
  for (unsigned i = 0; i < 256; ++i) out[i] /= 256;
}

// margin returns how far the best of 256 scores (|sign| 1: the highest,
// -1: the lowest) stands from the runner-up, in standard deviations of
// all 256.
double margin(const double* scores, unsigned best, int sign) {
  double mean = 0, var = 0, runner_up = 0;
  bool have_runner_up = false;
  for (unsigned k = 0; k < 256; ++k) {
    mean += scores[k] / 256;
    if (k == best) continue;
    if (!have_runner_up || sign * scores[k] > sign * runner_up)
      runner_up = scores[k], have_runner_up = true;
  }
  for (unsigned k = 0; k < 256; ++k)
    var += (scores[k] - mean) * (scores[k] - mean) / 256;
  if (var <= 0) return 0;
  return sign * (scores[best] - runner_up) / std::sqrt(var);
}

}  // namespace

Dca::Dca(DcaTarget target, size_t trace_bytes)
    : target_(target),
      trace_bits_(8 * trace_bytes),
      ones_(16 * 256 * trace_bits_),
      seen_(16 * 256),
      bits_(trace_bits_) {}

void Dca::add(const uint8_t known[16], const uint8_t* trace) {
  for (size_t b = 0; b < trace_bits_; ++b)
    bits_[b] = (trace[b / 8] >> (b % 8)) & 1;
  for (unsigned i = 0; i < 16; ++i) {
    uint32_t* row = &ones_[(i * 256 + known[i]) * trace_bits_];
    for (size_t b = 0; b < trace_bits_; ++b) row[b] += bits_[b];
    ++seen_[i * 256 + known[i]];
  }
  ++traces_;
}

KeyByteRanking Dca::rank(unsigned position, uint8_t correct) const {
  // Predicted bit j for known value v and guess k is predict[j][v ^ k].
  int64_t predict_hat[8][256];
  for (unsigned j = 0; j < 8; ++j) {
    for (unsigned v = 0; v < 256; ++v) {
      const uint8_t x = static_cast<uint8_t>(v);
      const uint8_t y = target_ == DcaTarget::kSbox ? zel_ref::aes_sbox(x)
                                                    : zel_ref::aes_inv_sbox(x);
      predict_hat[j][v] = (y >> j) & 1;
    }
    walsh_hadamard(predict_hat[j]);
  }
  int64_t seen_hat[256];
  for (unsigned v = 0; v < 256; ++v) seen_hat[v] = seen_[position * 256 + v];
  walsh_hadamard(seen_hat);
  // sum_p[j][k]: traces whose predicted bit j is 1 under guess k.
  int64_t sum_p[8][256];
  for (unsigned j = 0; j < 8; ++j)
    xor_correlate(seen_hat, predict_hat[j], sum_p[j]);

  const double n = static_cast<double>(traces_);
  double score[256] = {};
  // squares[b][k]: sum over predicted bits of the squared correlation.
  std::vector<std::array<double, 256>> squares;
  int64_t ones_hat[256], sum_tp[256];
  for (size_t b = 0; b < trace_bits_; ++b) {
    int64_t sum_t = 0;
    for (unsigned v = 0; v < 256; ++v) {
      ones_hat[v] = ones_[(position * 256 + v) * trace_bits_ + b];
      sum_t += ones_hat[v];
    }
    const double var_t = n * sum_t - static_cast<double>(sum_t) * sum_t;
    if (var_t <= 0) continue;  // a constant bit says nothing
    walsh_hadamard(ones_hat);
    squares.emplace_back();
    squares.back().fill(0);
    for (unsigned j = 0; j < 8; ++j) {
      xor_correlate(ones_hat, predict_hat[j], sum_tp);
      for (unsigned k = 0; k < 256; ++k) {
        const double sp = static_cast<double>(sum_p[j][k]);
        const double var_p = n * sp - sp * sp;
        if (var_p <= 0) continue;
        const double corr =
            (n * sum_tp[k] - sum_t * sp) / std::sqrt(var_t * var_p);
        if (std::fabs(corr) > score[k]) score[k] = std::fabs(corr);
        squares.back()[k] += corr * corr;
      }
    }
  }
  // Keep the bits that depend on this input byte at all: their squared
  // correlations average over the guesses clearly above the 8 / (n - 1)
  // that sampling noise alone gives (independent bits would outnumber
  // them and drown their z-scores); at most 64, the strongest; z-score
  // each.
  std::vector<std::pair<double, size_t>> by_mean;
  for (size_t b = 0; b < squares.size(); ++b) {
    double mean = 0;
    for (double v : squares[b]) mean += v;
    if (mean / 256 > 1.5 * 8 / (n - 1)) by_mean.emplace_back(mean / 256, b);
  }
  std::sort(by_mean.rbegin(), by_mean.rend());
  double low[256] = {};
  for (size_t r = 0; r < by_mean.size() && r < 64; ++r) {
    const auto& sq = squares[by_mean[r].second];
    const double mean = by_mean[r].first;
    double var = 0;
    for (double v : sq) var += (v - mean) * (v - mean);
    const double sd = std::sqrt(var / 256);
    if (sd <= 0) continue;
    for (unsigned k = 0; k < 256; ++k) low[k] += (sq[k] - mean) / sd;
  }
  KeyByteRanking result{1, 1, 0, 0, 0, 0, 0};
  for (unsigned k = 0; k < 256; ++k) {
    if (score[k] > score[result.best_high]) result.best_high = uint8_t(k);
    if (low[k] < low[result.best_low]) result.best_low = uint8_t(k);
    if (k != correct && score[k] >= score[correct]) ++result.rank_high;
    if (k != correct && low[k] <= low[correct]) ++result.rank_low;
  }
  result.score_high = score[result.best_high];
  result.margin_high = margin(score, result.best_high, 1);
  result.margin_low = margin(low, result.best_low, -1);
  return result;
}

}  // namespace zel_audit
