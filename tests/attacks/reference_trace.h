// reference_trace.h: traces of the reference core's AES, for the harness's
// control experiment.
//
// The reference source has no hook, so this recomputes its block cipher
// step by step with its own primitives (zel_ref::aes_sbox, gf_mul and the
// key schedule) and records the 16-byte state after each step of the first
// round (AddRoundKey, SubBytes, ShiftRows, MixColumns) and of the last
// round (its input, SubBytes, the ciphertext). The result is checked
// against zel_ref::aes_encrypt_block by the caller, so the trace is that of
// the computation the reference core performs.
#ifndef ZEL_TESTS_ATTACKS_REFERENCE_TRACE_H
#define ZEL_TESTS_ATTACKS_REFERENCE_TRACE_H

#include <cstdint>

#include "aes_reference.h"

constexpr unsigned kReferenceFirstRoundBytes = 4 * 16;
constexpr unsigned kReferenceLastRoundBytes = 3 * 16;

void reference_trace(const zel_ref::AesKeySchedule& schedule,
                     const uint8_t plain[16], uint8_t cipher[16],
                     uint8_t first_round[kReferenceFirstRoundBytes],
                     uint8_t last_round[kReferenceLastRoundBytes]);

#endif  // ZEL_TESTS_ATTACKS_REFERENCE_TRACE_H
