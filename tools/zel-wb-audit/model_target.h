// model_target.h: deliberately weak targets that every attack of the audit
// must break, so that "recovers nothing" on the core means something.
//
// A ModelTarget is a byte-wise AES on a 256-byte S-box table (its tables()
// region, writable) and round keys in its working block (work()). It traces
// like the core: through the same hook, one layer per AES round, so the
// attacks run on it unchanged.
//   kPlain:  every S-box output and every MixColumns output byte, unmasked
//            (DCA, collisions, DFA, PFA, SIFA);
//   kMasked: each traced byte as two shares v ^ m, m with a fresh random m
//            (defeats first-order DCA; second-order DCA and linear
//            decoding must still find the key);
//   kDuplicated: plain, but the S-box is held twice and every look-up
//            reads both copies; on a mismatch the block's output is
//            random bytes (a fault in one copy defeats plain PFA, the
//            same fault in both copies must not);
//   kUncorrelated: every traced byte v of layer l at position i (S-box
//            outputs at 0..15, MixColumns and output bytes at 16..31) as
//            E[i](v), E[i] without single-bit correlation
//            (uncorrelated_encoding.h): the correct DCA guess then meets
//            no correlation at all, which ranking by the lowest
//            correlation must find (and by the highest must not);
//   kSchedule: plain, but the round keys come from the protected key
//            through the encoded key schedule of encoded_schedule.h, whose
//            tables are the tables() region (the key-form scan must read
//            the raw key from them).
#ifndef ZEL_WB_AUDIT_MODEL_TARGET_H
#define ZEL_WB_AUDIT_MODEL_TARGET_H

#include <memory>
#include <vector>

#include "target.h"

namespace zel_audit {

enum class ModelKind { kPlain, kMasked, kDuplicated, kUncorrelated, kSchedule };

// |protected_key| is used by kSchedule only.
std::unique_ptr<Target> make_model_target(
    ModelKind kind, bool decryptor, const std::vector<uint8_t>& raw_key,
    const std::vector<uint8_t>& protected_key);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_MODEL_TARGET_H
