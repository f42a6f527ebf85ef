// missing_values.h: the last round key from the one output value per byte
// position that a faulted table entry keeps from ever appearing
// (persistent faults, and the ineffective runs of a transient fault).
#ifndef ZEL_WB_AUDIT_MISSING_VALUES_H
#define ZEL_WB_AUDIT_MISSING_VALUES_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "target.h"

namespace zel_audit {

// key_from_missing_values: |count|[i][v] is how often output byte i took
// value v. If every position misses exactly one value m_i, the last round
// key is m_i ^ d for one unknown d; each of the 256 candidates is checked
// on the target between restore() and refault() (AES-128: the raw key is
// returned). For AES-256 the candidate equal to |aim| is returned and
// |detail| says that only the last round key is known, up to 256
// candidates. Returns an empty key when nothing fits.
std::vector<uint8_t> key_from_missing_values(
    Target& target, const std::vector<std::array<unsigned, 256>>& count,
    const std::vector<uint8_t>& aim, const std::function<void()>& restore,
    const std::function<void()>& refault, std::string& detail);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_MISSING_VALUES_H
