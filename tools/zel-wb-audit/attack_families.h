// attack_families.h: the audit's attack families under the names the
// command line uses (--attacks, --accept, --list-known-limits), in the
// order a run takes them.
//
// Each family says what it attacks, whether the core's design lists it as
// a known limit (an attack the core is known not to resist:
// whitebox/runtime/DESIGN.md, "Known limits", which names the same
// families; a test compares the two lists), and which weak models it is
// meant to break: those models are its controls (--controls, and
// --target MODEL runs only the families meant for MODEL).
#ifndef ZEL_WB_AUDIT_ATTACK_FAMILIES_H
#define ZEL_WB_AUDIT_ATTACK_FAMILIES_H

#include <string>
#include <vector>

#include "audit.h"
#include "model_target.h"

namespace zel_audit {

// What a family's run gets besides the target. The raw key scores only.
struct RunInputs {
  const Settings& settings;
  const std::vector<uint8_t>& raw_key;
  const std::vector<uint8_t>& protected_key;
};

struct AttackFamily {
  const char* name;
  const char* what;
  // Why the core does not resist it; null when it is meant to.
  const char* known_limit;
  std::vector<ModelKind> controls;
  std::vector<Outcome> (*run)(Target& target, const RunInputs& in);
};

const std::vector<AttackFamily>& attack_families();

// meant_for: is |model| one of |family|'s controls?
bool meant_for(const AttackFamily& family, ModelKind model);

// find_family returns the family called |name|, or null.
const AttackFamily* find_family(const std::string& name);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_ATTACK_FAMILIES_H
