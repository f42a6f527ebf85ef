// audit.cpp: see audit.h.
#include "audit.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>

#include "aes_util.h"

namespace zel_audit {

unsigned Outcome::recovered() const {
  unsigned n = 0;
  for (int b : found) n += b >= 0;
  return n;
}

std::string aim_name(unsigned round, unsigned key_len) {
  if (round == 0 && key_len == 16) return "key";
  return "round key " + std::to_string(round);
}

void set_found(Outcome& o, const std::string& aim,
               const std::vector<uint8_t>& guess,
               const std::vector<uint8_t>& truth,
               const std::vector<bool>& decided) {
  o.aim = aim;
  o.found.assign(truth.size(), -1);
  for (size_t i = 0; i < guess.size() && i < truth.size(); ++i)
    if ((decided.empty() || decided[i]) && guess[i] == truth[i])
      o.found[i] = guess[i];
}

void set_found_ranked(Outcome& o, const std::string& aim,
                      const std::vector<uint8_t>& best,
                      const std::vector<uint8_t>& truth,
                      const std::vector<unsigned>& ranks,
                      const std::vector<double>& margins) {
  double log2_tries = 0;
  for (unsigned r : ranks) log2_tries += std::log2(r);
  if (log2_tries <= 32) {
    set_found(o, aim, truth, truth);
    char note[64];
    std::snprintf(note, sizeof note,
                  "among the first 2^%.0f candidates in rank order",
                  std::ceil(log2_tries));
    o.detail = note;
    return;
  }
  std::vector<bool> decided(best.size());
  for (size_t i = 0; i < best.size() && i < margins.size(); ++i)
    decided[i] = margins[i] >= kClearMargin;
  set_found(o, aim, best, truth, decided);
}

unsigned count_equal(const std::vector<uint8_t>& guess,
                     const std::vector<uint8_t>& truth) {
  unsigned n = 0;
  for (size_t i = 0; i < guess.size() && i < truth.size(); ++i)
    n += guess[i] == truth[i];
  return n;
}

std::string found_hex(const std::vector<int>& found) {
  static const char digits[] = "0123456789abcdef";
  std::string s;
  for (int b : found) {
    s += b < 0 ? '.' : digits[b >> 4 & 15];
    s += b < 0 ? '.' : digits[b & 15];
  }
  return s;
}

bool key_works(Target& target, const std::vector<uint8_t>& key) {
  if (key.size() != target.key_len()) return false;
  for (int t = 0; t < 2; ++t) {
    uint8_t in[16], out[16], expected[16];
    random_block(in);
    target.run(in, out);
    aes_block(key, target.decrypts(), in, expected);
    if (std::memcmp(out, expected, 16) != 0) return false;
  }
  return true;
}

void print_target_heading(const std::string& target) {
  std::printf("\n%s\n  %-44s %5s  %-34s %9s  %-45s  %s\n", target.c_str(),
              "attack", "found", "cost", "time", "key bytes found", "notes");
}

void print_outcome(const Outcome& o) {
  char count[16];
  std::snprintf(count, sizeof count, "%u/%zu", o.recovered(), o.found.size());
  const std::string bytes =
      o.recovered() == 0 ? "-" : o.aim + " " + found_hex(o.found);
  std::printf("  %-44s %5s  %-34s %7.2f s  ", o.attack.c_str(), count,
              o.cost.c_str(), o.seconds);
  if (o.detail.empty())
    std::printf("%s\n", bytes.c_str());
  else
    std::printf("%-45s  %s\n", bytes.c_str(), o.detail.c_str());
  std::fflush(stdout);
}

void random_block(uint8_t b[16]) {
  static std::mt19937_64 rng(0x5eed);
  for (int i = 0; i < 16; ++i) b[i] = static_cast<uint8_t>(rng());
}

}  // namespace zel_audit
