// main.cpp: zel-wb-audit, the white-box audit of a build's own core.
//
// Runs attack families (attack_families.h) against the core this program
// is linked with (the traced build of the build's white-box core, with its
// generated tables), prints each attack's outcome and cost, and ends with
// the verdict (verdict.h), whose exit status says whether any attack
// recovered key bytes. With --controls every family then runs against the
// weak models it is meant to break (model_target.h), at the same counts;
// --target MODEL runs a weak model alone. A program of the build host;
// never installed into a device image. Options: options.h and the manual
// page.
//
// The protected key defaults to the build's own (ZEL_EGSK_FILE) for its key
// size and to the development key of keys/ for the other size. The attacks
// use the protected key only as the key setups take it; the raw key, from
// the seed through the key protection of the generator or from a raw-key
// file, only scores them.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

#include "attack_families.h"
#include "core_target.h"
#include "key_protection.h"
#include "options.h"
#include "seed_file.h"
#include "verdict.h"

namespace zel_audit {
namespace {

using Bytes = std::vector<uint8_t>;

bool read_file(const std::string& path, Bytes& out) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "zel-wb-audit: cannot read %s\n", path.c_str());
    return false;
  }
  out.assign(std::istreambuf_iterator<char>(file), {});
  return true;
}

// The key material of one key size: the protected key the key setups
// take, and the raw key that scores.
struct KeyPair {
  Bytes protected_key;
  Bytes raw_key;
};

bool load_keys(const Options& o, unsigned key_len, KeyPair& keys) {
  const unsigned slot = key_len == 16 ? 0 : 1;
  std::string path = o.egsk[slot];
  if (path.empty()) {
    Bytes build_key;
    if (!read_file(ZEL_EGSK_FILE, build_key)) return false;
    path = build_key.size() == key_len ? ZEL_EGSK_FILE
           : key_len == 16             ? ZEL_KEYS_DIR "/egsk.bin"
                                       : ZEL_KEYS_DIR "/egsk256.bin";
  }
  if (!read_file(path, keys.protected_key)) return false;
  if (keys.protected_key.size() != key_len) {
    std::fprintf(stderr, "zel-wb-audit: %s is not a %u-byte key\n",
                 path.c_str(), key_len);
    return false;
  }
  if (!o.raw[slot].empty()) {
    if (!read_file(o.raw[slot], keys.raw_key)) return false;
    if (keys.raw_key.size() != key_len) {
      std::fprintf(stderr, "zel-wb-audit: %s is not a %u-byte key\n",
                   o.raw[slot].c_str(), key_len);
      return false;
    }
    return true;
  }
  zel_wbgen::Seed seed;
  std::string error;
  if (!zel_wbgen::read_seed_file(o.seed.empty() ? ZEL_WB_SEED_FILE : o.seed,
                                 seed, error)) {
    std::fprintf(stderr, "zel-wb-audit: %s\n", error.c_str());
    return false;
  }
  keys.raw_key.resize(key_len);
  zel_wbgen::unprotect_key(seed.bytes, keys.protected_key.data(), key_len,
                           keys.raw_key.data());
  return true;
}

// attack runs |families| against |target| and prints their lines.
TargetRun attack(Target& target, unsigned key_len, bool control,
                 const std::vector<std::string>& families,
                 const RunInputs& in) {
  TargetRun run;
  run.target = target.name() + ", AES-" + std::to_string(8 * key_len);
  run.control = control;
  print_target_heading(control ? "control: " + run.target : run.target);
  for (const std::string& name : families)
    for (Outcome& out : find_family(name)->run(target, in)) {
      print_outcome(out);
      run.outcomes.push_back(std::move(out));
    }
  return run;
}

void print_counts(const Settings& s) {
  std::printf(
      "zel-wb-audit counts: DCA %u traces; second-order DCA %u traces; "
      "linear decoding 256 traces; faults %u per campaign; collisions up to "
      "%u chosen inputs; SIFA %u known inputs per fault\n",
      s.traces, s.traces_second, s.faults, s.chosen, s.known);
}

int run(int argc, char** argv) {
  Options o;
  switch (parse(argc, argv, o)) {
    case Action::kHelp:
      print_usage(stdout);
      return 0;
    case Action::kListKnownLimits:
      print_known_limits(stdout);
      return 0;
    case Action::kUsageError:
      return 2;
    case Action::kRun:
      break;
  }
  KeyPair keys[2];
  for (unsigned key_len : o.key_sizes)
    if (!load_keys(o, key_len, keys[key_len == 16 ? 0 : 1])) return 2;

  print_counts(o.settings);
  std::vector<TargetRun> runs;
  for (unsigned key_len : o.key_sizes) {
    const KeyPair& k = keys[key_len == 16 ? 0 : 1];
    const RunInputs in{o.settings, k.raw_key, k.protected_key};
    for (bool dec : o.directions) {
      const std::unique_ptr<Target> target =
          o.model ? make_model_target(*o.model, dec, k.raw_key, k.protected_key)
                  : make_core_target(dec, k.protected_key);
      runs.push_back(
          attack(*target, key_len, o.model.has_value(), o.attacks, in));
    }
  }
  // The controls after the core, so that the core's lines do not depend on
  // whether they run (the attacks share one input sequence).
  if (o.controls)
    for (unsigned key_len : o.key_sizes) {
      const KeyPair& k = keys[key_len == 16 ? 0 : 1];
      const RunInputs in{o.settings, k.raw_key, k.protected_key};
      for (bool dec : o.directions)
        for (ModelKind model :
             {ModelKind::kPlain, ModelKind::kMasked, ModelKind::kDuplicated,
              ModelKind::kUncorrelated, ModelKind::kSchedule}) {
          std::vector<std::string> families;
          for (const std::string& name : o.attacks)
            if (meant_for(*find_family(name), model)) families.push_back(name);
          if (families.empty()) continue;
          const std::unique_ptr<Target> target =
              make_model_target(model, dec, k.raw_key, k.protected_key);
          runs.push_back(attack(*target, key_len, true, families, in));
        }
    }
  return print_verdict(stdout, runs, o.accepted);
}

}  // namespace
}  // namespace zel_audit

int main(int argc, char** argv) { return zel_audit::run(argc, argv); }
