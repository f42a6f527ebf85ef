// attacks.h: the attack families of the audit, one source file each.
//
// Each takes a target, the run's settings and the raw key (for scoring
// only) and returns one outcome per variant it ran.
#ifndef ZEL_WB_AUDIT_ATTACKS_H
#define ZEL_WB_AUDIT_ATTACKS_H

#include <cstdint>
#include <vector>

#include "audit.h"

namespace zel_audit {

// dfa.cpp: Piret-Quisquater DFA, faults in tables and working block,
// every round from 7 on.
std::vector<Outcome> run_dfa(Target& target, const Settings& settings,
                             const std::vector<uint8_t>& raw_key);

// collisions.cpp: chosen-input collision search on the traced values of
// the first round (|all_layers| false) or of every layer.
std::vector<Outcome> run_collisions(Target& target, const Settings& settings,
                                    const std::vector<uint8_t>& raw_key,
                                    bool all_layers);

// dca_attacks.cpp: first-order DCA (highest and lowest correlation, first
// and last round) and second-order DCA.
std::vector<Outcome> run_dca(Target& target, const Settings& settings,
                             const std::vector<uint8_t>& raw_key);
std::vector<Outcome> run_dca_second_order(Target& target,
                                          const Settings& settings,
                                          const std::vector<uint8_t>& raw_key);

// key_form.cpp: group tables (64 KiB and nibble-wide), plain key-dependent
// outputs and encoded S-boxes in the target's tables, without knowledge of
// the layout.
std::vector<Outcome> run_key_form(Target& target,
                                  const std::vector<uint8_t>& protected_key,
                                  const std::vector<uint8_t>& raw_key);

// persistent_faults.cpp: PFA (|all_copies| false), or the same fault in
// every copy of a table.
std::vector<Outcome> run_pfa(Target& target, const Settings& settings,
                             const std::vector<uint8_t>& raw_key,
                             bool all_copies);

// ineffective_faults.cpp: SIFA.
std::vector<Outcome> run_sifa(Target& target, const Settings& settings,
                              const std::vector<uint8_t>& raw_key);

// linear_decoding.cpp: linear decoding analysis, degree 1 and 2.
std::vector<Outcome> run_lda(Target& target, const Settings& settings,
                             const std::vector<uint8_t>& raw_key);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_ATTACKS_H
