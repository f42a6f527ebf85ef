// attack_families.cpp: see attack_families.h.
#include "attack_families.h"

#include "attacks.h"

namespace zel_audit {

const std::vector<AttackFamily>& attack_families() {
  using M = ModelKind;
  static const std::vector<AttackFamily> families = {
      {"keyform",
       "key form: the tables scanned for a way to the raw key",
       nullptr,
       {M::kSchedule},
       [](Target& t, const RunInputs& in) {
         return run_key_form(t, in.protected_key, in.raw_key);
       }},
      {"collision",
       "collisions in the first round, chosen inputs",
       "a value that fixes a second-round S-box input is looked up, so equal "
       "inputs give equal look-up indices whatever the encodings",
       {M::kPlain},
       [](Target& t, const RunInputs& in) {
         return run_collisions(t, in.settings, in.raw_key, false);
       }},
      {"tcollision",
       "collisions on every traced value, chosen inputs",
       "the first-round collisions, found among all traced values",
       {M::kPlain},
       [](Target& t, const RunInputs& in) {
         return run_collisions(t, in.settings, in.raw_key, true);
       }},
      {"dca",
       "first-order DCA, first and last round",
       nullptr,
       {M::kPlain, M::kUncorrelated},
       [](Target& t, const RunInputs& in) {
         return run_dca(t, in.settings, in.raw_key);
       }},
      {"dca2",
       "second-order DCA (pairs of traced bits)",
       nullptr,
       {M::kMasked},
       [](Target& t, const RunInputs& in) {
         return run_dca_second_order(t, in.settings, in.raw_key);
       }},
      {"dfa",
       "differential fault analysis, rounds 7 to the last",
       nullptr,
       {M::kPlain},
       [](Target& t, const RunInputs& in) {
         return run_dfa(t, in.settings, in.raw_key);
       }},
      {"pfa",
       "persistent fault analysis",
       nullptr,
       {M::kPlain},
       [](Target& t, const RunInputs& in) {
         return run_pfa(t, in.settings, in.raw_key, false);
       }},
      {"copies",
       "persistent faults, the same in every copy of a table",
       nullptr,
       {M::kDuplicated},
       [](Target& t, const RunInputs& in) {
         return run_pfa(t, in.settings, in.raw_key, true);
       }},
      {"sifa",
       "statistical ineffective fault analysis",
       nullptr,
       {M::kPlain},
       [](Target& t, const RunInputs& in) {
         return run_sifa(t, in.settings, in.raw_key);
       }},
      {"lda",
       "linear decoding analysis, degree 1 and 2",
       nullptr,
       {M::kMasked},
       [](Target& t, const RunInputs& in) {
         return run_lda(t, in.settings, in.raw_key);
       }},
  };
  return families;
}

bool meant_for(const AttackFamily& family, ModelKind model) {
  for (ModelKind m : family.controls)
    if (m == model) return true;
  return false;
}

const AttackFamily* find_family(const std::string& name) {
  for (const AttackFamily& f : attack_families())
    if (name == f.name) return &f;
  return nullptr;
}

}  // namespace zel_audit
