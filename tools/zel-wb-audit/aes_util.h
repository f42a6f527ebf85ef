// aes_util.h: plain AES pieces the attacks compute with (state steps, S-box
// tables, key-schedule inversion). Host tool code; not constant time.
//
// State byte i is row i % 4, column i / 4 (the AES byte order).
#ifndef ZEL_WB_AUDIT_AES_UTIL_H
#define ZEL_WB_AUDIT_AES_UTIL_H

#include <cstdint>
#include <vector>

namespace zel_audit {

// The S-box and its inverse as tables (filled on first use).
const uint8_t* sbox();
const uint8_t* inv_sbox();
uint8_t gmul(uint8_t a, uint8_t b);

void shift_rows(uint8_t s[16]);
void inv_shift_rows(uint8_t s[16]);
void mix_columns(uint8_t s[16]);
void inv_mix_columns(uint8_t s[16]);

// Where ShiftRows (InvShiftRows) moves byte i.
unsigned shift_dest(unsigned i);
unsigned inv_shift_dest(unsigned i);

// aes_block encrypts (or decrypts) one block under a raw key of 16 or 32
// bytes.
void aes_block(const std::vector<uint8_t>& key, bool decrypt,
               const uint8_t in[16], uint8_t out[16]);

// round_keys expands a raw key into its rounds + 1 round keys.
std::vector<std::vector<uint8_t>> round_keys(const std::vector<uint8_t>& key);

// key_from_last_round_keys inverts the key schedule: from the last round key
// (AES-128) or the last two (AES-256, |second_last| then |last|) it
// returns the raw key.
std::vector<uint8_t> key_from_last_round_keys(unsigned key_len,
                                              const uint8_t* second_last,
                                              const uint8_t* last);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_AES_UTIL_H
