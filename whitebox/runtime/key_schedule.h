// key_schedule.h: the AES key expansion run on key-form bytes.
//
// The protected key goes through the unprotect table straight into the
// schedule's forms (one per word and byte); XOR, SubWord and the round
// constants are table look-ups on encoded bytes, and every expanded byte
// stays in the form of its word and byte. No raw key byte or round-key
// byte is ever computed.
//
// Constant time: no branch on key data; the look-ups are indexed by encoded
// key bytes (cache timing is outside the white-box threat model, where the
// attacker reads memory directly).
#ifndef ZEL_WHITEBOX_RUNTIME_KEY_SCHEDULE_H
#define ZEL_WHITEBOX_RUNTIME_KEY_SCHEDULE_H

#include <cstdint>

#include "keyed_tables.h"
#include "wb_tables.h"

namespace zel_whitebox {

// expand_protected_key fills |keys| with the 11 (|key_len| 16) or 15 (32)
// round keys of the key whose protected form is |protected_key|, once per
// copy, each on the copy's own schedule (|tables|, kCopies of them).
void expand_protected_key(const KeyTables* tables,
                          const uint8_t* protected_key, unsigned key_len,
                          RoundKeys& keys);

}  // namespace zel_whitebox

#endif  // ZEL_WHITEBOX_RUNTIME_KEY_SCHEDULE_H
