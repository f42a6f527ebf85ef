// verdict.h: the end of the audit's report: one verdict line per target
// and one overall, and the exit status they imply.
//
// On the core (or any target that is not a control), every attack line
// that recovered key bytes is a finding, named with its family, the
// bytes and whether its family is a known limit of the core and was
// accepted (--accept). On a control (a weak model), every family run on
// it must have recovered a whole key or round key at least once, or the
// audit proves nothing: "control not broken".
#ifndef ZEL_WB_AUDIT_VERDICT_H
#define ZEL_WB_AUDIT_VERDICT_H

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "audit.h"

namespace zel_audit {

struct TargetRun {
  std::string target;
  bool control = false;
  std::vector<Outcome> outcomes;
};

// print_verdict writes the verdict lines to |out| and returns the exit
// status: 1 when a finding's family is not in |accepted| or a control was
// not broken, else 0.
int print_verdict(std::FILE* out, const std::vector<TargetRun>& runs,
                  const std::set<std::string>& accepted);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_VERDICT_H
