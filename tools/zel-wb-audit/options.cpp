// options.cpp: see options.h.
#include "options.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>

#include "attack_families.h"

namespace zel_audit {
namespace {

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

std::vector<std::string> split(const std::string& list) {
  std::vector<std::string> items;
  std::stringstream in(list);
  for (std::string item; std::getline(in, item, ',');) items.push_back(item);
  return items;
}

// count parses a positive decimal count.
bool count(const std::string& value, unsigned& out) {
  if (value.empty() || value[0] < '0' || value[0] > '9') return false;
  char* end = nullptr;
  errno = 0;
  const unsigned long n = std::strtoul(value.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || n == 0 || n > 100000000) return false;
  out = static_cast<unsigned>(n);
  return true;
}

Action usage_error(const std::string& why) {
  std::fprintf(stderr, "zel-wb-audit: %s\n", why.c_str());
  print_synopsis(stderr);
  return Action::kUsageError;
}

}  // namespace

void print_synopsis(std::FILE* out) {
  std::fputs(
      "usage: zel-wb-audit [--attacks LIST] [--key-size 128|256|both]\n"
      "         [--direction enc|dec|both] [--traces N] [--traces2 N]\n"
      "         [--faults N] [--chosen N] [--known N] [--quick]\n"
      "         [--accept LIST] [--controls]\n"
      "         [--target core|plain|masked|duplicated|uncorrelated|"
      "schedule]\n"
      "         [--egsk FILE] [--egsk256 FILE] [--seed FILE]\n"
      "         [--raw-key FILE] [--raw-key256 FILE]\n"
      "       zel-wb-audit --list-known-limits | --help\n",
      out);
}

void print_usage(std::FILE* out) {
  print_synopsis(out);
  std::fputs(
      "\nAttacks the white-box AES core of this build (its own tables and\n"
      "protected key), prints what each attack recovered and ends with one\n"
      "verdict line per target and one overall.\n\n"
      "  --attacks LIST     comma-separated attacks (default: all):\n",
      out);
  for (const AttackFamily& f : attack_families())
    std::fprintf(out, "                       %-10s %s%s\n", f.name, f.what,
                 f.known_limit ? " (known limit)" : "");
  std::fputs(
      "  --key-size 128|256|both, --direction enc|dec|both\n"
      "                     which cores to attack (default: both, both)\n"
      "  --traces N         first-order DCA traces (default 10000)\n"
      "  --traces2 N        second-order DCA traces (default 2000)\n"
      "  --faults N         faults per fault campaign (default 10000)\n"
      "  --chosen N         chosen inputs per collision search (default "
      "65536)\n"
      "  --known N          known inputs per ineffective fault (default "
      "4096)\n"
      "  --quick            reduced counts: 500 traces, 500 second-order\n"
      "                     traces, 2000 faults, 512 chosen inputs (count\n"
      "                     options after it override)\n"
      "  --accept LIST      findings of these known limits do not fail the\n"
      "                     audit (see --list-known-limits)\n"
      "  --controls         then run each attack against the weak models it\n"
      "                     must break, at the same counts\n"
      "  --target MODEL     attack a weak model instead of the core (plain,\n"
      "                     masked, duplicated, uncorrelated, schedule)\n"
      "  --egsk FILE, --egsk256 FILE\n"
      "                     protected AES-128 / AES-256 key (default: the\n"
      "                     build's; the development key for the other size)\n"
      "  --seed FILE        the seed, used only to score the attacks\n"
      "                     (default: the build's)\n"
      "  --raw-key FILE, --raw-key256 FILE\n"
      "                     score against this raw key instead\n"
      "  --list-known-limits  print the core's known limits and exit\n"
      "  --help             print this help and exit\n\n"
      "Exit status: 0 no attack recovered key bytes (or only accepted known\n"
      "limits); 1 key bytes recovered, or a control not broken; 2 usage\n"
      "error or unreadable input. See zel-wb-audit(1).\n",
      out);
}

void print_known_limits(std::FILE* out) {
  for (const AttackFamily& f : attack_families())
    if (f.known_limit) std::fprintf(out, "%-10s %s\n", f.name, f.known_limit);
}

Action parse(int argc, char** argv, Options& o) {
  std::vector<std::string> requested;
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--help" || flag == "-h") return Action::kHelp;
    if (flag == "--list-known-limits") return Action::kListKnownLimits;
    if (flag == "--quick") {
      o.settings.quick = true;
      o.settings.traces = 500;
      o.settings.traces_second = 500;
      o.settings.faults = 2000;
      o.settings.chosen = 512;
      o.settings.known = 4096;
      continue;
    }
    if (flag == "--controls") {
      o.controls = true;
      continue;
    }
    static const std::set<std::string> with_value = {
        "--target",  "--attacks", "--key-size", "--direction", "--traces",
        "--traces2", "--faults",  "--chosen",   "--known",     "--accept",
        "--egsk",    "--egsk256", "--seed",     "--raw-key",   "--raw-key256"};
    if (!with_value.count(flag)) return usage_error("unknown option " + flag);
    if (i + 1 >= argc) return usage_error(flag + " needs a value");
    const std::string value = argv[++i];
    const auto bad = [&] {
      return usage_error("bad value for " + flag + ": " + value);
    };
    if (flag == "--target") {
      o.target_name = value;
      o.model = model_kind(value);
      if (value != "core" && !o.model) return bad();
    } else if (flag == "--attacks") {
      for (const std::string& a : split(value)) {
        if (!find_family(a)) return usage_error("unknown attack " + a);
        requested.push_back(a);
      }
      if (requested.empty()) return bad();
    } else if (flag == "--accept") {
      for (const std::string& a : split(value)) {
        const AttackFamily* f = find_family(a);
        if (!f) return usage_error("unknown attack " + a);
        if (!f->known_limit)
          return usage_error(a +
                             " is not a known limit of the core and cannot "
                             "be accepted (see --list-known-limits)");
        o.accepted.insert(a);
      }
    } else if (flag == "--key-size") {
      if (value == "128")
        o.key_sizes = {16};
      else if (value == "256")
        o.key_sizes = {32};
      else if (value != "both")
        return bad();
    } else if (flag == "--direction") {
      if (value == "enc")
        o.directions = {false};
      else if (value == "dec")
        o.directions = {true};
      else if (value != "both")
        return bad();
    } else if (flag == "--egsk" || flag == "--egsk256" || flag == "--raw-key" ||
               flag == "--raw-key256" || flag == "--seed") {
      if (value.empty()) return bad();
      (flag == "--egsk"         ? o.egsk[0]
       : flag == "--egsk256"    ? o.egsk[1]
       : flag == "--raw-key"    ? o.raw[0]
       : flag == "--raw-key256" ? o.raw[1]
                                : o.seed) = value;
    } else {
      unsigned& n = flag == "--traces"    ? o.settings.traces
                    : flag == "--traces2" ? o.settings.traces_second
                    : flag == "--faults"  ? o.settings.faults
                    : flag == "--chosen"  ? o.settings.chosen
                                          : o.settings.known;
      if (!count(value, n)) return bad();
    }
  }
  if (o.model && o.controls)
    return usage_error(
        "--controls runs the weak models itself; it does not "
        "go with --target " +
        o.target_name);
  // The families to run, in their order: the requested ones (default all),
  // on a weak model only those meant to break it.
  for (const AttackFamily& f : attack_families()) {
    bool wanted = requested.empty();
    for (const std::string& r : requested) wanted = wanted || r == f.name;
    if (wanted && (!o.model || meant_for(f, *o.model)))
      o.attacks.push_back(f.name);
  }
  if (o.attacks.empty())
    return usage_error("no attack in the list is meant to break the " +
                       o.target_name + " model");
  return Action::kRun;
}

}  // namespace zel_audit
