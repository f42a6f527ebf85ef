// dca_attacks.cpp: DCA campaigns on the traced look-ups (see dca.h).
//
// First order: the look-ups of the first layer against the input block
// (prediction F_in(in ^ k)), and those of the last two layers against the
// output block (F_out(out ^ k)); F is the S-box on the side where the
// cipher applies it to data ^ key, the inverse S-box on the other.
// Encryption: the input side aims at the first round key, the output side
// at the last; decryption the other way round. Each side is ranked by the
// highest correlation and by the lowest (z-score).
//
// Second order: the XOR of every pair of bits within a window of 8 traced
// bytes of the first layer (4 in quick mode), windows side by side.
#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <string>

#include "aes_util.h"
#include "attacks.h"
#include "dca.h"
#include "trace_hook.h"

namespace zel_audit {
namespace {

struct SideSpec {
  const char* name;
  bool output;
};

double since(std::chrono::steady_clock::time_point start) {
  return seconds_since(start);
}

std::string rank_list(const std::vector<unsigned>& ranks) {
  std::string s = "rank of the right guess per byte:";
  for (unsigned r : ranks) s += " " + std::to_string(r);
  return s;
}

std::string join(const std::string& a, const std::string& b) {
  return a.empty() ? b : a + "; " + b;
}

}  // namespace

std::vector<Outcome> run_dca(Target& target, const Settings& settings,
                             const std::vector<uint8_t>& raw_key) {
  const bool dec = target.decrypts();
  const unsigned rounds = target.rounds();
  const auto truth = round_keys(raw_key);
  std::vector<Outcome> outcomes;
  for (SideSpec side :
       {SideSpec{"first round", false}, SideSpec{"last round", true}}) {
    const auto start = std::chrono::steady_clock::now();
    // The S-box is applied to in ^ k when encrypting, the inverse S-box
    // when decrypting; on the output side the other one undoes the last.
    const bool sbox_side = side.output == dec;
    const DcaTarget predict =
        sbox_side ? DcaTarget::kSbox : DcaTarget::kInverseSbox;
    const std::vector<uint8_t>& aim =
        (side.output != dec) ? truth[rounds] : truth[0];
    TraceRecorder recorder;
    std::unique_ptr<Dca> dca;
    for (unsigned t = 0; t < settings.traces; ++t) {
      uint8_t in[16], out[16];
      random_block(in);
      recorder.clear();
      target.run(in, out);
      const auto window = side.output ? recorder.window(rounds - 2, rounds - 1)
                                      : recorder.window(0, 0);
      if (!dca) dca = std::make_unique<Dca>(predict, window.size());
      dca->add(side.output ? out : in, window.data());
    }
    std::vector<uint8_t> best_high(16), best_low(16);
    std::vector<unsigned> ranks_high, ranks_low;
    std::vector<double> margins_high, margins_low;
    for (unsigned i = 0; i < 16; ++i) {
      const KeyByteRanking r = dca->rank(i, aim[i]);
      best_high[i] = r.best_high;
      best_low[i] = r.best_low;
      ranks_high.push_back(r.rank_high);
      ranks_low.push_back(r.rank_low);
      margins_high.push_back(r.margin_high);
      margins_low.push_back(r.margin_low);
    }
    const std::string aim_round =
        aim_name(side.output != dec ? rounds : 0, target.key_len());
    Outcome high, low;
    high.family = low.family = "dca";
    high.attack = std::string("DCA, strongest correlation, ") + side.name;
    low.attack = std::string("DCA, weakest correlation, ") + side.name;
    set_found_ranked(high, aim_round, best_high, aim, ranks_high, margins_high);
    set_found_ranked(low, aim_round, best_low, aim, ranks_low, margins_low);
    high.cost = low.cost = std::to_string(settings.traces) + " traces";
    high.seconds = low.seconds = since(start);
    high.detail = join(high.detail, rank_list(ranks_high));
    low.detail = join(low.detail, rank_list(ranks_low));
    outcomes.push_back(high);
    outcomes.push_back(low);
  }
  return outcomes;
}

std::vector<Outcome> run_dca_second_order(Target& target,
                                          const Settings& settings,
                                          const std::vector<uint8_t>& raw_key) {
  const auto start = std::chrono::steady_clock::now();
  const bool dec = target.decrypts();
  const auto truth = round_keys(raw_key);
  const std::vector<uint8_t>& aim = dec ? truth[target.rounds()] : truth[0];
  const DcaTarget predict = dec ? DcaTarget::kInverseSbox : DcaTarget::kSbox;
  const unsigned n = settings.traces_second;
  std::vector<std::array<uint8_t, 16>> inputs(n);
  std::vector<std::vector<uint8_t>> traces(n);
  {
    TraceRecorder recorder;
    for (unsigned t = 0; t < n; ++t) {
      uint8_t out[16];
      random_block(inputs[t].data());
      recorder.clear();
      target.run(inputs[t].data(), out);
      traces[t] = recorder.window(0, 0);
    }
  }
  // Windows of 8 bytes (quick: 4 bytes, the first 32 bytes only).
  const unsigned window_bytes = settings.quick ? 4 : 8;
  const unsigned window_bits = 8 * window_bytes;
  const unsigned pair_bytes = (window_bits * (window_bits - 1) / 2 + 7) / 8;
  // best[i]: the guess of the window whose peak for byte i is highest.
  std::vector<uint8_t> best(16);
  std::vector<double> peak(16, -1);
  std::vector<unsigned> best_rank(16, 257);
  std::vector<double> best_margin(16);
  const size_t length = traces.empty() ? 0 : traces[0].size();
  const size_t windows = settings.quick
                             ? std::min<size_t>(length / window_bytes, 8)
                             : length / window_bytes;
  for (size_t w = 0; w < windows; ++w) {
    Dca dca(predict, pair_bytes);
    std::vector<uint8_t> pairs(pair_bytes);
    for (unsigned t = 0; t < n; ++t) {
      const uint8_t* bytes = traces[t].data() + w * window_bytes;
      std::fill(pairs.begin(), pairs.end(), 0);
      unsigned p = 0;
      for (unsigned a = 0; a < window_bits; ++a)
        for (unsigned b = a + 1; b < window_bits; ++b, ++p) {
          const unsigned bit =
              ((bytes[a / 8] >> (a % 8)) ^ (bytes[b / 8] >> (b % 8))) & 1;
          pairs[p / 8] |= static_cast<uint8_t>(bit << (p % 8));
        }
      dca.add(inputs[t].data(), pairs.data());
    }
    for (unsigned i = 0; i < 16; ++i) {
      const KeyByteRanking r = dca.rank(i, aim[i]);
      if (r.score_high > peak[i]) {
        peak[i] = r.score_high;
        best[i] = r.best_high;
        best_rank[i] = r.rank_high;
        best_margin[i] = r.margin_high;
      }
    }
  }
  Outcome o;
  o.family = "dca2";
  o.attack = "DCA second order, first round";
  set_found_ranked(o, aim_name(dec ? target.rounds() : 0, target.key_len()),
                   best, aim, best_rank, best_margin);
  o.cost = std::to_string(n) + " traces, " + std::to_string(windows) +
           " windows of " + std::to_string(window_bytes) + " bytes";
  o.seconds = since(start);
  o.detail = join(o.detail,
                  "in the window of the highest peak, " + rank_list(best_rank));
  return {o};
}

}  // namespace zel_audit
