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

// Outcome: what one attack line of the report says. |found| holds, per
// byte of the key material the attack aims at (|aim|: "key" for the raw
// key, "round key N" for one round key), the byte when the attack decided
// it and it is right, else -1. The raw key is used only for that scoring.
struct Outcome {
  std::string family;  // the attack's name on the command line (--attacks)
  std::string attack;  // what the report calls the line
  std::string aim;
  std::vector<int> found;
  std::string cost;
  double seconds = 0;
  std::string detail;

  unsigned recovered() const;
  bool whole() const { return !found.empty() && recovered() == found.size(); }
};

// aim_name names round key |round| of a |key_len|-byte key ("key" where
// that round key is the raw key: round 0 of AES-128).
std::string aim_name(unsigned round, unsigned key_len);

// set_found scores an attack's |guess| of the |truth| it aims at: bytes
// not |decided| (empty: all decided) or wrong are not found. An empty
// guess finds nothing.
void set_found(Outcome& o, const std::string& aim,
               const std::vector<uint8_t>& guess,
               const std::vector<uint8_t>& truth,
               const std::vector<bool>& decided = {});

// set_found_ranked scores a ranking attack (DCA): |best| holds its best
// guess per byte, |ranks| the right guess's rank, |margins| how far each
// best guess stands above the runner-up in standard deviations of the 256
// guesses' scores. A ranking names a best guess whether or not anything
// leaks, and the right one ranks first by chance once in 256, so a byte
// counts only when its best guess is right and stands at least
// kClearMargin apart. All bytes count when the ranks multiply to at most
// 2^32: trying the candidates in rank order, each checked on one known
// block, then reaches the whole round key within 2^32 tries.
constexpr double kClearMargin = 5.0;
void set_found_ranked(Outcome& o, const std::string& aim,
                      const std::vector<uint8_t>& best,
                      const std::vector<uint8_t>& truth,
                      const std::vector<unsigned>& ranks,
                      const std::vector<double>& margins);

// count_equal returns how many bytes of |guess| equal |truth|.
unsigned count_equal(const std::vector<uint8_t>& guess,
                     const std::vector<uint8_t>& truth);

// found_hex prints |found| as hex, ".." for a byte not found.
std::string found_hex(const std::vector<int>& found);

// seconds_since returns the time since |start|, for Outcome::seconds.
inline double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
      .count();
}

// key_works checks a full raw-key candidate by running the target on one
// block: a self-check an attacker can make.
bool key_works(Target& target, const std::vector<uint8_t>& key);

// print_target_heading and print_outcome write the report's attack
// table, one heading per target.
void print_target_heading(const std::string& target);
void print_outcome(const Outcome& outcome);

// random_block fills |b| from a fixed-seed generator (reproducible runs).
void random_block(uint8_t b[16]);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_AUDIT_H
