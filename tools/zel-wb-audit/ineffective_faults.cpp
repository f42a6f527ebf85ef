// ineffective_faults.cpp: statistical ineffective fault analysis
// (Dobraunig et al., CHES 2018) with transient table faults.
//
// One table byte is faulted from the second-to-last round on, for many
// known inputs; the runs whose output stays correct (the attacker runs
// the same input again without the fault) are kept. In those runs the
// faulted entry was never read, so the intermediate it would have given is
// biased. A table read by the last round of every byte position, with the
// key added after it, then leaves one value per position missing among
// the kept outputs, as in persistent fault analysis, and the key follows
// the same way (missing_values.h).
//
// Locations: random table bytes; a pre-test of 32 inputs keeps those that
// are sometimes effective and sometimes not.
#include <algorithm>
#include <array>
#include <chrono>
#include <random>
#include <string>

#include "aes_util.h"
#include "attacks.h"
#include "missing_values.h"
#include "trace_hook.h"

namespace zel_audit {

std::vector<Outcome> run_sifa(Target& target, const Settings& settings,
                              const std::vector<uint8_t>& raw_key) {
  const auto start = std::chrono::steady_clock::now();
  const Region tables = target.tables();
  const auto truth = round_keys(raw_key);
  const std::vector<uint8_t>& aim =
      target.decrypts() ? truth[0] : truth[target.rounds()];
  const int layer = static_cast<int>(target.rounds()) - 2;
  std::mt19937 rng(13);
  unsigned locations = 0, runs = 0;
  std::vector<uint8_t> found;
  std::string detail;
  // Run |in| with the fault; true if the output stayed correct.
  const auto ineffective = [&](TimedFault& fault, const uint8_t* in,
                               uint8_t* out) {
    uint8_t good[16];
    target.run(in, good);
    fault.arm();
    target.run(in, out);
    fault.disarm();
    ++runs;
    return std::equal(good, good + 16, out);
  };
  while (locations < settings.faults && found.empty()) {
    const size_t off = rng() % tables.size;
    TimedFault fault(tables.base + off, {static_cast<uint8_t>(rng() | 1)},
                     layer);
    ++locations;
    unsigned kept = 0;
    for (unsigned t = 0; t < 32; ++t) {
      uint8_t in[16], out[16];
      random_block(in);
      kept += ineffective(fault, in, out);
    }
    if (kept == 0 || kept == 32) continue;
    std::vector<std::array<unsigned, 256>> count(16);
    for (auto& c : count) c.fill(0);
    for (unsigned t = 0; t < settings.known; ++t) {
      uint8_t in[16], out[16];
      random_block(in);
      if (!ineffective(fault, in, out)) continue;
      for (unsigned i = 0; i < 16; ++i) ++count[i][out[i]];
    }
    const auto nothing = [] {};  // the fault is off between runs
    found =
        key_from_missing_values(target, count, aim, nothing, nothing, detail);
  }
  Outcome o;
  o.attack = "SIFA, transient table faults";
  o.family = "sifa";
  if (target.key_len() == 16)
    set_found(o, "key", found, raw_key);
  else  // AES-256: the last round key, among 256 candidates
    set_found(o, aim_name(target.decrypts() ? 0 : target.rounds(), 32), found,
              aim);
  o.cost = std::to_string(locations) + " fault locations, " +
           std::to_string(runs) + " faulted runs";
  o.seconds = seconds_since(start);
  o.detail = detail;
  return {o};
}

}  // namespace zel_audit
