// decryptor_core.cpp: the white-box decryptor core behind wb_core.h.
//
// The decryptor holds two keyed table sets built by every key setup: the
// inverse direction (black to yellow or blue) and a forward direction of
// its own (blue to black, for re-encryption under a new IV). Yellow and
// blue are two encodings of the plaintext, applied by the last look-up of
// a decryption, which also does the CBC XOR with the public previous
// ciphertext block; the forward direction takes blue in with the same kind
// of look-up. Plaintext is never plain inside the core.
//
// Constant time: see forward_engine.h, inverse_engine.h, key_schedule.h.
#include <cstring>

#include "aes_reference.h"
#include "forward_engine.h"
#include "inverse_engine.h"
#include "key_schedule.h"
#include "key_reuse.h"
#include "keyed_tables.h"
#include "wb_core.h"
#include "wb_tables.h"

namespace wb_dec {
namespace {

using zel_whitebox::dec_forward_tables;
using zel_whitebox::dec_inverse_tables;
using zel_whitebox::dec_key_tables;

// Shared with the encryptor core: sixteen zero bytes.
constexpr uint8_t kKeyOnlyInitialValue[16] = {0};

struct DecryptorWork : WbCoreWork {
  zel_whitebox::KeyedTables inverse;
  zel_whitebox::KeyedTables forward;
  uint8_t chain[16];
  uint8_t held_key[32];  // the protected key the keyed tables were built
                         // from; state.aux is its length (0: none)
};

DecryptorWork& work_of(WbCoreState& state) {
  return *static_cast<DecryptorWork*>(state.work);
}

void key_setup(WbCoreState& state, const uint8_t* protected_key,
               unsigned key_len, const uint8_t* iv) {
  DecryptorWork& work = work_of(state);
  std::memcpy(work.chain, iv, 16);
  if (zel_whitebox::holds_key(state.aux, work.held_key, protected_key,
                              key_len))
    return;
  const unsigned rounds = key_len / 4 + 6;
  zel_whitebox::RoundKeys keys;
  zel_whitebox::expand_protected_key(dec_key_tables, protected_key, key_len,
                                     keys);
  zel_whitebox::build_inverse_tables(dec_inverse_tables, keys, rounds,
                                     work.inverse);
  zel_whitebox::build_forward_tables(dec_forward_tables, keys, rounds,
                                     work.forward);
  zel_ref::secure_wipe(&keys, sizeof keys);
  std::memcpy(work.held_key, protected_key, key_len);
  state.aux = key_len;
}

void cbc_decrypt(WbCoreState& state, unsigned rounds, const uint8_t* form,
                 const zel_wb::WbCbcParams& params) {
  DecryptorWork& work = work_of(state);
  zel_whitebox::inverse_cbc(dec_inverse_tables, work.inverse, rounds, form,
                            work.chain, params);
}

void cbc_encrypt_blue(WbCoreState& state, unsigned rounds,
                      const zel_wb::WbCbcParams& params) {
  DecryptorWork& work = work_of(state);
  zel_whitebox::forward_cbc(dec_forward_tables, work.forward, rounds,
                            work.chain, params);
}

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
  cbc_decrypt(s, 10, dec_inverse_tables.yellow_xor, s.work->cbc_decrypt_128);
}
void wb_cbc_decrypt_256(WbCoreState& s) {
  cbc_decrypt(s, 14, dec_inverse_tables.yellow_xor, s.work->cbc_decrypt_256);
}
void wb_cbc_decrypt_blue_128(WbCoreState& s) {
  cbc_decrypt(s, 10, dec_inverse_tables.blue_xor,
              s.work->cbc_decrypt_blue_128);
}
void wb_cbc_decrypt_blue_256(WbCoreState& s) {
  cbc_decrypt(s, 14, dec_inverse_tables.blue_xor,
              s.work->cbc_decrypt_blue_256);
}
void wb_cbc_encrypt_blue_128(WbCoreState& s) {
  cbc_encrypt_blue(s, 10, s.work->cbc_encrypt_blue_128);
}
void wb_cbc_encrypt_blue_256(WbCoreState& s) {
  cbc_encrypt_blue(s, 14, s.work->cbc_encrypt_blue_256);
}

}  // namespace wb_dec
