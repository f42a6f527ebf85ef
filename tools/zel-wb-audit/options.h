// options.h: the command line of zel-wb-audit.
//
//   zel-wb-audit [--attacks LIST] [--key-size 128|256|both]
//                [--direction enc|dec|both] [--traces N] [--traces2 N]
//                [--faults N] [--chosen N] [--known N] [--quick]
//                [--accept LIST] [--controls]
//                [--target core|plain|masked|duplicated|uncorrelated|schedule]
//                [--egsk FILE] [--egsk256 FILE] [--seed FILE]
//                [--raw-key FILE] [--raw-key256 FILE]
//   zel-wb-audit --list-known-limits | --help
//
// The manual page (zel-wb-audit.1) describes each option.
#ifndef ZEL_WB_AUDIT_OPTIONS_H
#define ZEL_WB_AUDIT_OPTIONS_H

#include <cstdio>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "audit.h"
#include "model_target.h"

namespace zel_audit {

struct Options {
  std::optional<ModelKind> model;  // --target MODEL; none: the core
  std::string target_name = "core";
  std::vector<std::string> attacks;  // attack_families() order
  std::set<std::string> accepted;
  bool controls = false;
  std::vector<unsigned> key_sizes{16, 32};
  std::vector<bool> directions{false, true};  // true: the decryptor
  Settings settings;
  std::string egsk[2];  // empty: the build's key, else the one of keys/
  std::string raw[2];
  std::string seed;  // empty: the build's seed
};

enum class Action { kRun, kHelp, kListKnownLimits, kUsageError };

// parse fills |o| from the command line; on kUsageError it has printed
// the reason to stderr.
Action parse(int argc, char** argv, Options& o);

// print_synopsis writes the usage lines (after a usage error, to stderr);
// print_usage adds what the options do (--help).
void print_synopsis(std::FILE* out);
void print_usage(std::FILE* out);

// print_known_limits writes one line per known limit: its attack name,
// then why the core does not resist it.
void print_known_limits(std::FILE* out);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_OPTIONS_H
