// aes_reference.h: a plain, readable AES-128/AES-256 block cipher (FIPS-197).
//
// It serves as the reference core of the library and as the oracle that the
// white-box core and its generator are checked against. It works byte by
// byte on the state, in the order of the standard's pseudo-code.
//
// Constant time: no table is indexed by secret data. The S-box is computed
// (inversion in GF(2^8) followed by the affine map), eight byte lanes at a
// time in a 64-bit word, and every branch depends only on public values
// (key length, round number).
#ifndef ZEL_WHITEBOX_REFERENCE_AES_REFERENCE_H
#define ZEL_WHITEBOX_REFERENCE_AES_REFERENCE_H

#include <cstdint>

namespace zel_ref {

// AesKeySchedule holds the expanded key: |rounds| + 1 round keys of 16 bytes
// (10 rounds for a 16-byte key, 14 for a 32-byte key).
//
// WARNING: the schedule is key material. Callers wipe it (aes_wipe) before
// releasing the memory that holds it.
struct AesKeySchedule {
  uint8_t round_key[15][16];
  unsigned rounds;
};

// aes_expand_key fills |schedule| from |key|, which is |key_len| bytes long.
// |key_len| must be 16 or 32; any other value leaves |schedule| with zero
// rounds, so that encrypting with it is the identity and never reads past
// the key.
void aes_expand_key(const uint8_t* key, unsigned key_len,
                    AesKeySchedule& schedule);

// aes_encrypt_block encrypts one 16-byte block. |in| and |out| may be equal.
void aes_encrypt_block(const AesKeySchedule& schedule, const uint8_t in[16],
                       uint8_t out[16]);

// aes_decrypt_block decrypts one 16-byte block. |in| and |out| may be equal.
void aes_decrypt_block(const AesKeySchedule& schedule, const uint8_t in[16],
                       uint8_t out[16]);

// aes_sbox and aes_inv_sbox compute one S-box value (constant time). They
// exist for the white-box generator and for tests, which build tables from
// them.
uint8_t aes_sbox(uint8_t x);
uint8_t aes_inv_sbox(uint8_t x);

// gf_mul multiplies two elements of GF(2^8) modulo x^8 + x^4 + x^3 + x + 1,
// in constant time.
uint8_t gf_mul(uint8_t a, uint8_t b);

// secure_wipe overwrites |len| bytes at |p| with zeros in a way the
// compiler does not remove: the library's one wipe, zel_wb::wipe
// (whitebox/wiped_buffer.h), under the reference AES's name.
void secure_wipe(void* p, unsigned long len);

// aes_wipe clears a key schedule.
void aes_wipe(AesKeySchedule& schedule);

}  // namespace zel_ref

#endif  // ZEL_WHITEBOX_REFERENCE_AES_REFERENCE_H
