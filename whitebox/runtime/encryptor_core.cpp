// encryptor_core.cpp: the white-box encryptor core behind wb_core.h.
//
// A key setup turns the protected key into key-form round keys, builds the
// keyed tables of the three copies into the working block and wipes the
// round keys; setting up the key the state already holds only restarts the
// chain (key_reuse.h). The CBC routines then run on the keyed tables and
// the generated ones alone. The chaining value is ciphertext (or the public
// IV) and is kept plain.
//
// Constant time: see forward_engine.h, key_schedule.h and key_reuse.h.
#include <cstring>

#include "forward_engine.h"
#include "key_reuse.h"
#include "key_schedule.h"
#include "keyed_tables.h"
#include "wb_core.h"
#include "wb_tables.h"
#include "wiped_buffer.h"

namespace wb_enc {
namespace {

// The initial chaining value of the key-only setups, shared with the
// decryptor core: sixteen zero bytes.
constexpr uint8_t kKeyOnlyInitialValue[16] = {0};

struct EncryptorWork : WbCoreWork {
  zel_whitebox::KeyedCopies keyed;
  uint8_t chain[16];
  uint8_t held_key[32];  // the protected key the keyed tables were built
                         // from; state.aux is its length (0: none)
};

EncryptorWork& work_of(WbCoreState& state) {
  return *static_cast<EncryptorWork*>(state.work);
}

void key_setup(WbCoreState& state, const uint8_t* protected_key,
               unsigned key_len, const uint8_t* iv) {
  EncryptorWork& work = work_of(state);
  std::memcpy(work.chain, iv, 16);
  if (zel_whitebox::holds_key(state.aux, work.held_key, protected_key,
                              key_len))
    return;
  zel_whitebox::RoundKeys keys;
  zel_whitebox::expand_protected_key(zel_whitebox::key_tables, protected_key,
                                     key_len, keys);
  zel_whitebox::build_forward_tables(keys, key_len / 4 + 6, work.keyed);
  zel_wb::wipe(&keys, sizeof keys);
  std::memcpy(work.held_key, protected_key, key_len);
  state.aux = key_len;
}

}  // namespace

const uint32_t wb_work_size = sizeof(EncryptorWork);

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
void wb_cbc_encrypt_128(WbCoreState& s) {
  zel_whitebox::forward_cbc(work_of(s).keyed, 10, work_of(s).chain,
                            s.work->cbc_encrypt_128);
}
void wb_cbc_encrypt_256(WbCoreState& s) {
  zel_whitebox::forward_cbc(work_of(s).keyed, 14, work_of(s).chain,
                            s.work->cbc_encrypt_256);
}

}  // namespace wb_enc
