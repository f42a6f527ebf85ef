// main.cpp: zel-wb-audit, the white-box audit of a build's own core.
//
// Runs attack classes against the core this program is linked with (the
// traced build of the build's white-box core, with its generated tables)
// or against a deliberately weak model that every attack must break
// (model_target.h), and prints each attack's outcome and cost. A host
// program for the device maker's build host; never installed into a device
// image.
//
//   zel-wb-audit [--target core|plain|masked|duplicated|uncorrelated|schedule]
//                [--attacks LIST] [--key-size 128|256|both]
//                [--direction enc|dec|both]
//                [--traces N] [--traces2 N] [--faults N] [--chosen N]
//                [--known N] [--quick] [--require-key]
//                [--egsk FILE] [--egsk256 FILE] [--seed FILE]
//                [--raw-key FILE] [--raw-key256 FILE]
//
// The protected key defaults to the build's own (ZEL_EGSK_FILE) for its key
// size and to the development key of keys/ for the other size.
//
// LIST is a comma-separated subset of keyform, dfa, collision, tcollision,
// dca, dca2, pfa, copies, sifa, lda (default: all; keyform runs on the
// targets with a key form only, core and schedule). The attacks use the
// protected key (egsk) only as the key setups take it; the raw key, from
// the seed through the key protection of the generator or from a raw-key
// file, only scores them. --require-key exits 1 unless every attack family
// run recovered a whole key (or, AES-256, a whole round key) at least once.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "attacks.h"
#include "core_target.h"
#include "key_protection.h"
#include "model_target.h"
#include "seed_file.h"

namespace zel_audit {
namespace {

using Bytes = std::vector<uint8_t>;

struct Options {
  std::string target = "core";
  std::set<std::string> attacks;
  std::vector<unsigned> key_sizes{16, 32};
  std::vector<bool> directions{false, true};
  Settings settings;
  bool require_key = false;
  std::string egsk[2] = {ZEL_KEYS_DIR "/egsk.bin", ZEL_KEYS_DIR "/egsk256.bin"};
  std::string raw[2];
  std::string seed = ZEL_WB_SEED_FILE;
};

std::optional<ModelKind> model_kind(const std::string& name) {
  static const std::map<std::string, ModelKind> kinds = {
      {"plain", ModelKind::kPlain},
      {"masked", ModelKind::kMasked},
      {"duplicated", ModelKind::kDuplicated},
      {"uncorrelated", ModelKind::kUncorrelated},
      {"schedule", ModelKind::kSchedule}};
  const auto it = kinds.find(name);
  if (it == kinds.end()) return std::nullopt;
  return it->second;
}

Bytes read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "zel-wb-audit: cannot read %s\n", path.c_str());
    std::exit(2);
  }
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

[[noreturn]] void usage() {
  std::fprintf(
      stderr,
      "usage: zel-wb-audit [--target core|plain|masked|duplicated|"
      "uncorrelated|schedule]\n  [--attacks LIST] [--key-size 128|256|both]"
      " [--direction enc|dec|both]\n "
      " [--traces N] [--traces2 N] [--faults N] [--chosen N]\n  "
      "[--known N] [--quick] [--require-key] [--egsk FILE] "
      "[--egsk256 FILE]\n  [--seed FILE] [--raw-key FILE] "
      "[--raw-key256 FILE]\n");
  std::exit(2);
}

Options parse(int argc, char** argv) {
  Options o;
  const std::string build_key = ZEL_EGSK_FILE;
  o.egsk[read_file(build_key).size() == 32 ? 1 : 0] = build_key;
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--quick") {
      o.settings.quick = true;
      o.settings.traces = 500;
      o.settings.traces_second = 500;
      o.settings.faults = 2000;
      o.settings.chosen = 512;
      o.settings.known = 4096;
      continue;
    }
    if (flag == "--require-key") {
      o.require_key = true;
      continue;
    }
    if (i + 1 >= argc) usage();
    const std::string value = argv[++i];
    const auto number = [&] {
      return static_cast<unsigned>(std::stoul(value));
    };
    if (flag == "--target")
      o.target = value;
    else if (flag == "--attacks") {
      std::stringstream list(value);
      for (std::string a; std::getline(list, a, ',');) o.attacks.insert(a);
    } else if (flag == "--key-size") {
      if (value == "128")
        o.key_sizes = {16};
      else if (value == "256")
        o.key_sizes = {32};
      else if (value != "both")
        usage();
    } else if (flag == "--direction") {
      if (value == "enc")
        o.directions = {false};
      else if (value == "dec")
        o.directions = {true};
      else if (value != "both")
        usage();
    } else if (flag == "--traces")
      o.settings.traces = number();
    else if (flag == "--traces2")
      o.settings.traces_second = number();
    else if (flag == "--faults")
      o.settings.faults = number();
    else if (flag == "--chosen")
      o.settings.chosen = number();
    else if (flag == "--known")
      o.settings.known = number();
    else if (flag == "--egsk")
      o.egsk[0] = value;
    else if (flag == "--egsk256")
      o.egsk[1] = value;
    else if (flag == "--raw-key")
      o.raw[0] = value;
    else if (flag == "--raw-key256")
      o.raw[1] = value;
    else if (flag == "--seed")
      o.seed = value;
    else
      usage();
  }
  if (o.target != "core" && !model_kind(o.target)) usage();
  return o;
}

// raw_key_for scores only: from a raw-key file, else from the seed.
Bytes raw_key_for(const Options& o, unsigned slot, const Bytes& protected_key) {
  if (!o.raw[slot].empty()) return read_file(o.raw[slot]);
  zel_wbgen::Seed seed;
  std::string error;
  if (!zel_wbgen::read_seed_file(o.seed, seed, error)) {
    std::fprintf(stderr, "zel-wb-audit: %s\n", error.c_str());
    std::exit(2);
  }
  Bytes raw(protected_key.size());
  zel_wbgen::unprotect_key(seed.bytes, protected_key.data(),
                           static_cast<unsigned>(raw.size()), raw.data());
  return raw;
}

int run(int argc, char** argv) {
  const Options o = parse(argc, argv);
  const auto wanted = [&](const char* a) {
    return o.attacks.empty() || o.attacks.count(a) != 0;
  };
  std::set<std::string> families_run, families_broken;
  std::printf("%-30s %-50s %-16s %-34s %10s\n", "attack", "target", "recovered",
              "cost", "time");
  for (unsigned key_len : o.key_sizes) {
    const unsigned slot = key_len == 16 ? 0 : 1;
    const Bytes protected_key = read_file(o.egsk[slot]);
    if (protected_key.size() != key_len) {
      std::fprintf(stderr, "zel-wb-audit: %s is not a %u-byte key\n",
                   o.egsk[slot].c_str(), key_len);
      return 2;
    }
    const Bytes raw_key = raw_key_for(o, slot, protected_key);
    for (bool dec : o.directions) {
      std::unique_ptr<Target> target =
          o.target == "core" ? make_core_target(dec, protected_key)
                             : make_model_target(*model_kind(o.target), dec,
                                                 raw_key, protected_key);
      const std::string name =
          target->name() + ", AES-" + std::to_string(8 * key_len);
      const auto add = [&](const char* family, std::vector<Outcome> outcomes) {
        families_run.insert(family);
        for (const Outcome& out : outcomes) {
          print_outcome(name, out);
          if (out.recovered >= 16) families_broken.insert(family);
        }
      };
      if (wanted("keyform") && (o.target == "core" || o.target == "schedule"))
        add("keyform", run_key_form(*target, protected_key, raw_key));
      if (wanted("collision"))
        add("collision", run_collisions(*target, o.settings, raw_key, false));
      if (wanted("tcollision"))
        add("tcollision", run_collisions(*target, o.settings, raw_key, true));
      if (wanted("dca")) add("dca", run_dca(*target, o.settings, raw_key));
      if (wanted("dca2"))
        add("dca2", run_dca_second_order(*target, o.settings, raw_key));
      if (wanted("dfa")) add("dfa", run_dfa(*target, o.settings, raw_key));
      if (wanted("pfa") || wanted("copies"))
        add("pfa", run_pfa(*target, o.settings, raw_key));
      if (wanted("sifa")) add("sifa", run_sifa(*target, o.settings, raw_key));
      if (wanted("lda")) add("lda", run_lda(*target, o.settings, raw_key));
    }
  }
  if (o.require_key && families_broken != families_run) {
    for (const std::string& f : families_run)
      if (!families_broken.count(f))
        std::printf("%s: no whole key recovered\n", f.c_str());
    return 1;
  }
  return 0;
}

}  // namespace
}  // namespace zel_audit

int main(int argc, char** argv) { return zel_audit::run(argc, argv); }
