// decryptor_core.cpp: the white-box decryptor core behind wb_core.h.
//
// The decryptor runs two directions: decryption (black to yellow or blue)
// and re-encryption (blue to black, under a new IV). Blue is the
// encryptor's white form, so re-encryption uses the encryptor's forward
// tables. Only the direction in use is materialised, into one area of the
// working block: a key setup builds the decryption direction (or keeps what
// it has for the key it already holds, key_reuse.h), and a CBC routine of
// the other direction re-derives the round keys from the held protected key
// and rebuilds the area first. Yellow and blue are two encodings of the
// plaintext, applied by the last look-ups of a decryption, which also do
// the CBC XOR with the public previous ciphertext block. Plaintext is never
// plain inside the core.
//
// Constant time: see forward_engine.h, inverse_engine.h, key_schedule.h,
// key_reuse.h; which direction is materialised is public.
#include <cstring>

#include "forward_engine.h"
#include "inverse_engine.h"
#include "key_reuse.h"
#include "key_schedule.h"
#include "keyed_tables.h"
#include "wb_core.h"
#include "wb_tables.h"
#include "wiped_buffer.h"

namespace wb_dec {
namespace {

// Shared with the encryptor core: sixteen zero bytes.
constexpr uint8_t kKeyOnlyInitialValue[16] = {0};

enum Direction : uint32_t { kDecrypting = 1, kEncrypting = 2 };

struct DecryptorWork : WbCoreWork {
  zel_whitebox::KeyedCopies keyed;  // the materialised direction
  uint8_t chain[16];
  uint8_t held_key[32];  // state.aux is its length (0: none)
  uint32_t direction;    // what |keyed| holds, when aux != 0
};

DecryptorWork& work_of(WbCoreState& state) {
  return *static_cast<DecryptorWork*>(state.work);
}

void materialise(WbCoreState& state, Direction direction) {
  DecryptorWork& work = work_of(state);
  const unsigned rounds = state.aux / 4 + 6;
  zel_whitebox::RoundKeys keys;
  zel_whitebox::expand_protected_key(zel_whitebox::key_tables, work.held_key,
                                     state.aux, keys);
  if (direction == kDecrypting)
    zel_whitebox::build_inverse_tables(keys, rounds, work.keyed);
  else
    zel_whitebox::build_forward_tables(keys, rounds, work.keyed);
  zel_wb::wipe(&keys, sizeof keys);
  work.direction = direction;
}

void key_setup(WbCoreState& state, const uint8_t* protected_key,
               unsigned key_len, const uint8_t* iv) {
  DecryptorWork& work = work_of(state);
  std::memcpy(work.chain, iv, 16);
  if (zel_whitebox::holds_key(state.aux, work.held_key, protected_key,
                              key_len))
    return;
  std::memcpy(work.held_key, protected_key, key_len);
  state.aux = key_len;
  materialise(state, kDecrypting);
}

void cbc_decrypt(WbCoreState& state, unsigned rounds,
                 const uint8_t* final_form,
                 const zel_wb::WbCbcParams& params) {
  DecryptorWork& work = work_of(state);
  if (work.direction != kDecrypting) materialise(state, kDecrypting);
  zel_whitebox::inverse_cbc(work.keyed, rounds, final_form, work.chain,
                            params);
}

void cbc_encrypt_blue(WbCoreState& state, unsigned rounds,
                      const zel_wb::WbCbcParams& params) {
  DecryptorWork& work = work_of(state);
  if (work.direction != kEncrypting) materialise(state, kEncrypting);
  zel_whitebox::forward_cbc(work.keyed, rounds, work.chain, params);
}

using zel_whitebox::inverse_tables;

}  // namespace

const uint32_t wb_work_size = sizeof(DecryptorWork);

void wb_key_setup_128(WbCoreState& s) {
  key_setup(s, s.work->key_setup_128.key, 16, kKeyOnlyInitialValue);
}
void wb_key_setup_256(WbCoreState& s) {
  key_setup(s, s.work->key_setup_256.key, 32, kKeyOnlyInitialValue);
}
void wb_key_iv_setup_128(WbCoreState& s) {
  key_setup(s, s.work->key_iv_setup_128.key, 16, s.work->key_iv_setup_128.iv);
}
void wb_key_iv_setup_256(WbCoreState& s) {
  key_setup(s, s.work->key_iv_setup_256.key, 32, s.work->key_iv_setup_256.iv);
}
void wb_cbc_decrypt_128(WbCoreState& s) {
  cbc_decrypt(s, 10, inverse_tables.yellow, s.work->cbc_decrypt_128);
}
void wb_cbc_decrypt_256(WbCoreState& s) {
  cbc_decrypt(s, 14, inverse_tables.yellow, s.work->cbc_decrypt_256);
}
void wb_cbc_decrypt_blue_128(WbCoreState& s) {
  cbc_decrypt(s, 10, inverse_tables.blue, s.work->cbc_decrypt_blue_128);
}
void wb_cbc_decrypt_blue_256(WbCoreState& s) {
  cbc_decrypt(s, 14, inverse_tables.blue, s.work->cbc_decrypt_blue_256);
}
void wb_cbc_encrypt_blue_128(WbCoreState& s) {
  cbc_encrypt_blue(s, 10, s.work->cbc_encrypt_blue_128);
}
void wb_cbc_encrypt_blue_256(WbCoreState& s) {
  cbc_encrypt_blue(s, 14, s.work->cbc_encrypt_blue_256);
}

}  // namespace wb_dec
