// audit.h: what every attack of the audit takes and reports.
//
// An attack gets the target and the run's settings, and returns the key
// bytes it recovered with what it spent. The raw key is used only to score
// the result (how many recovered bytes are right); no attack reads it.
#ifndef ZEL_WB_AUDIT_AUDIT_H
#define ZEL_WB_AUDIT_AUDIT_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "target.h"

namespace zel_audit {

struct Settings {
  unsigned traces = 10000;        // first-order DCA
  unsigned traces_second = 2000;  // second-order DCA, linear decoding
  unsigned faults = 10000;        // fault injections per campaign
  unsigned chosen = 65536;        // chosen inputs per collision search
  unsigned known = 4096;          // known inputs per ineffective fault
  bool quick = false;
};

// Score: |recovered| bytes of |key_bytes| match the key (or round key) the
// attack aims at.
struct Outcome {
  std::string attack;
  unsigned recovered = 0;
  unsigned key_bytes = 16;
  std::string cost;
  double seconds = 0;
  std::string detail;
};

// seconds_since returns the time since |start|, for Outcome::seconds.
inline double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() -
                                       start)
      .count();
}

// count_equal returns how many bytes of |guess| equal |truth| (missing
// guesses are empty).
unsigned count_equal(const std::vector<uint8_t>& guess,
                     const std::vector<uint8_t>& truth);

// key_works checks a full raw-key candidate by running the target on one
// block: a self-check an attacker can make.
bool key_works(Target& target, const std::vector<uint8_t>& key);

void print_outcome(const std::string& target, const Outcome& outcome);

// random_block fills |b| from a fixed-seed generator (reproducible runs).
void random_block(uint8_t b[16]);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_AUDIT_H
