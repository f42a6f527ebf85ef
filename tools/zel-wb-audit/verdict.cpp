// verdict.cpp: see verdict.h.
#include "verdict.h"

#include "attack_families.h"

namespace zel_audit {
namespace {

bool is_known_limit(const std::string& family) {
  const AttackFamily* f = find_family(family);
  return f != nullptr && f->known_limit != nullptr;
}

// join_names lists |names| in the order of attack_families().
std::string join_names(const std::set<std::string>& names,
                       const char* separator = ", ") {
  std::string s;
  for (const AttackFamily& f : attack_families())
    if (names.count(f.name))
      s += (s.empty() ? "" : separator) + std::string(f.name);
  return s;
}

}  // namespace

int print_verdict(std::FILE* out, const std::vector<TargetRun>& runs,
                  const std::set<std::string>& accepted) {
  std::set<std::string> findings, limits_open, limits_accepted;
  std::vector<std::string> controls_open;
  std::fprintf(out, "\n");
  for (const TargetRun& run : runs) {
    if (run.control) {
      std::set<std::string> run_families, broken;
      for (const Outcome& o : run.outcomes) {
        run_families.insert(o.family);
        if (o.whole()) broken.insert(o.family);
      }
      std::set<std::string> open;
      for (const std::string& f : run_families)
        if (!broken.count(f)) open.insert(f);
      if (open.empty()) {
        std::fprintf(out, "verdict control %s: broken by %s\n",
                     run.target.c_str(), join_names(broken).c_str());
      } else {
        std::fprintf(out, "verdict control %s: control not broken: %s\n",
                     run.target.c_str(), join_names(open).c_str());
        controls_open.push_back(join_names(open) + " on " + run.target);
      }
      continue;
    }
    std::string line;
    for (const Outcome& o : run.outcomes) {
      if (o.recovered() == 0) continue;
      std::string mark = o.family;
      if (is_known_limit(o.family)) {
        mark += ", known limit";
        if (accepted.count(o.family)) {
          mark += ", accepted";
          limits_accepted.insert(o.family);
        } else {
          limits_open.insert(o.family);
        }
      } else {
        findings.insert(o.family);
      }
      line += (line.empty() ? "" : "; ") + o.attack + " [" + mark + "] " +
              std::to_string(o.recovered()) + "/" +
              std::to_string(o.found.size()) + " " + o.aim + " " +
              found_hex(o.found);
    }
    std::fprintf(out, "verdict %s: %s\n", run.target.c_str(),
                 line.empty() ? "no key bytes recovered"
                              : ("KEY BYTES RECOVERED: " + line).c_str());
  }
  std::vector<std::string> reasons;
  if (!findings.empty())
    reasons.push_back("key bytes recovered by " + join_names(findings));
  if (!limits_open.empty())
    reasons.push_back(
        "key bytes recovered by known limits of the core, not "
        "accepted: " +
        join_names(limits_open) + " (--accept " + join_names(limits_open, ",") +
        " accepts them)");
  for (const std::string& c : controls_open)
    reasons.push_back("control not broken: " + c);
  std::string accepted_note;
  if (!limits_accepted.empty())
    accepted_note = "key bytes recovered by accepted known limits only: " +
                    join_names(limits_accepted);
  if (reasons.empty()) {
    bool cores = false, controls = false;
    for (const TargetRun& run : runs) (run.control ? controls : cores) = true;
    std::string pass;
    if (cores)
      pass = accepted_note.empty() ? "no attack recovered key bytes"
                                   : accepted_note;
    if (controls)
      pass += (pass.empty() ? "" : "; ") + std::string("every control broken");
    std::fprintf(out, "verdict overall: PASS: %s\n", pass.c_str());
    return 0;
  }
  if (!accepted_note.empty()) reasons.push_back(accepted_note);
  std::string all;
  for (const std::string& r : reasons) all += (all.empty() ? "" : "; ") + r;
  std::fprintf(out, "verdict overall: FAIL: %s\n", all.c_str());
  return 1;
}

}  // namespace zel_audit
