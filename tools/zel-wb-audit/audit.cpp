// audit.cpp: see audit.h.
#include "audit.h"

#include <cstdio>
#include <cstring>
#include <random>

#include "aes_util.h"

namespace zel_audit {

unsigned count_equal(const std::vector<uint8_t>& guess,
                     const std::vector<uint8_t>& truth) {
  unsigned n = 0;
  for (size_t i = 0; i < guess.size() && i < truth.size(); ++i)
    n += guess[i] == truth[i];
  return n;
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

void print_outcome(const std::string& target, const Outcome& o) {
  std::printf("%-30s %-50s %2u/%-2u key bytes  %-34s %9.4f s%s%s\n",
              o.attack.c_str(), target.c_str(), o.recovered, o.key_bytes,
              o.cost.c_str(), o.seconds, o.detail.empty() ? "" : "  ",
              o.detail.c_str());
  std::fflush(stdout);
}

void random_block(uint8_t b[16]) {
  static std::mt19937_64 rng(0x5eed);
  for (int i = 0; i < 16; ++i) b[i] = static_cast<uint8_t>(rng());
}

}  // namespace zel_audit
