// reference_core.cpp: the reference core behind the core boundary.
//
// Plain AES-CBC with identity encodings: the white, yellow and blue forms
// are the plain bytes, and the key bytes handed to the key setups are the
// raw AES key. It exists as a build option (ZEL_WB_CORE=reference) and as
// the oracle for the white-box core.
//
// Constant time: see aes_reference.h; the CBC loop branches only on sizes.
#include <cstring>

#include "aes_reference.h"
#include "wb_core.h"

namespace {

// The fixed initial chaining value of the key-only setups, shared by both
// cores: sixteen zero bytes.
constexpr uint8_t kKeyOnlyInitialValue[zel_wb::kBlockSize] = {0};

// ChainState is the core's own part of a working block: the expanded key and
// the current chaining value.
struct ChainState {
  zel_ref::AesKeySchedule schedule;
  uint8_t chain[zel_wb::kBlockSize];
};

void start_chain(ChainState& state, const uint8_t* key, unsigned key_len,
                 const uint8_t* iv) {
  zel_ref::aes_expand_key(key, key_len, state.schedule);
  std::memcpy(state.chain, iv, zel_wb::kBlockSize);
}

void cbc_encrypt(ChainState& state, const zel_wb::WbCbcParams& params) {
  uint8_t block[zel_wb::kBlockSize];
  for (uint32_t offset = 0; offset < params.size;
       offset += zel_wb::kBlockSize) {
    for (uint32_t i = 0; i < zel_wb::kBlockSize; ++i)
      block[i] = params.in[offset + i] ^ state.chain[i];
    zel_ref::aes_encrypt_block(state.schedule, block, state.chain);
    std::memcpy(params.out + offset, state.chain, zel_wb::kBlockSize);
  }
  zel_ref::secure_wipe(block, sizeof block);
}

// cbc_decrypt keeps a copy of each ciphertext block before writing, so that
// |in| and |out| may be the same buffer.
void cbc_decrypt(ChainState& state, const zel_wb::WbCbcParams& params) {
  uint8_t block[zel_wb::kBlockSize];
  uint8_t next_chain[zel_wb::kBlockSize];
  for (uint32_t offset = 0; offset < params.size;
       offset += zel_wb::kBlockSize) {
    std::memcpy(next_chain, params.in + offset, zel_wb::kBlockSize);
    zel_ref::aes_decrypt_block(state.schedule, next_chain, block);
    for (uint32_t i = 0; i < zel_wb::kBlockSize; ++i)
      params.out[offset + i] = block[i] ^ state.chain[i];
    std::memcpy(state.chain, next_chain, zel_wb::kBlockSize);
  }
  zel_ref::secure_wipe(block, sizeof block);
}

}  // namespace

namespace wb_enc {
namespace {
struct ReferenceWork : WbCoreWork {
  ChainState chain;
};
ChainState& chain_of(WbCoreState& state) {
  return static_cast<ReferenceWork*>(state.work)->chain;
}
}  // namespace

const uint32_t wb_work_size = sizeof(ReferenceWork);

const uint8_t wb_input_encoding[256] = {
#define ZEL_IDENTITY_ROW(r)                                               \
  r + 0, r + 1, r + 2, r + 3, r + 4, r + 5, r + 6, r + 7, r + 8, r + 9,   \
      r + 10, r + 11, r + 12, r + 13, r + 14, r + 15
    ZEL_IDENTITY_ROW(0x00), ZEL_IDENTITY_ROW(0x10), ZEL_IDENTITY_ROW(0x20),
    ZEL_IDENTITY_ROW(0x30), ZEL_IDENTITY_ROW(0x40), ZEL_IDENTITY_ROW(0x50),
    ZEL_IDENTITY_ROW(0x60), ZEL_IDENTITY_ROW(0x70), ZEL_IDENTITY_ROW(0x80),
    ZEL_IDENTITY_ROW(0x90), ZEL_IDENTITY_ROW(0xa0), ZEL_IDENTITY_ROW(0xb0),
    ZEL_IDENTITY_ROW(0xc0), ZEL_IDENTITY_ROW(0xd0), ZEL_IDENTITY_ROW(0xe0),
    ZEL_IDENTITY_ROW(0xf0)};

void wb_key_setup_128(WbCoreState& s) {
  start_chain(chain_of(s), s.work->key_setup_128.key, 16,
              kKeyOnlyInitialValue);
}
void wb_key_setup_256(WbCoreState& s) {
  start_chain(chain_of(s), s.work->key_setup_256.key, 32,
              kKeyOnlyInitialValue);
}
void wb_key_iv_setup_128(WbCoreState& s) {
  start_chain(chain_of(s), s.work->key_iv_setup_128.key, 16,
              s.work->key_iv_setup_128.iv);
}
void wb_key_iv_setup_256(WbCoreState& s) {
  start_chain(chain_of(s), s.work->key_iv_setup_256.key, 32,
              s.work->key_iv_setup_256.iv);
}
void wb_cbc_encrypt_128(WbCoreState& s) {
  cbc_encrypt(chain_of(s), s.work->cbc_encrypt_128);
}
void wb_cbc_encrypt_256(WbCoreState& s) {
  cbc_encrypt(chain_of(s), s.work->cbc_encrypt_256);
}

}  // namespace wb_enc

namespace wb_dec {
namespace {
struct ReferenceWork : WbCoreWork {
  ChainState chain;
};
ChainState& chain_of(WbCoreState& state) {
  return static_cast<ReferenceWork*>(state.work)->chain;
}
}  // namespace

const uint32_t wb_work_size = sizeof(ReferenceWork);

const uint8_t wb_output_decoding[256] = {
    ZEL_IDENTITY_ROW(0x00), ZEL_IDENTITY_ROW(0x10), ZEL_IDENTITY_ROW(0x20),
    ZEL_IDENTITY_ROW(0x30), ZEL_IDENTITY_ROW(0x40), ZEL_IDENTITY_ROW(0x50),
    ZEL_IDENTITY_ROW(0x60), ZEL_IDENTITY_ROW(0x70), ZEL_IDENTITY_ROW(0x80),
    ZEL_IDENTITY_ROW(0x90), ZEL_IDENTITY_ROW(0xa0), ZEL_IDENTITY_ROW(0xb0),
    ZEL_IDENTITY_ROW(0xc0), ZEL_IDENTITY_ROW(0xd0), ZEL_IDENTITY_ROW(0xe0),
    ZEL_IDENTITY_ROW(0xf0)};
#undef ZEL_IDENTITY_ROW

void wb_key_setup_128(WbCoreState& s) {
  start_chain(chain_of(s), s.work->key_setup_128.key, 16,
              kKeyOnlyInitialValue);
}
void wb_key_setup_256(WbCoreState& s) {
  start_chain(chain_of(s), s.work->key_setup_256.key, 32,
              kKeyOnlyInitialValue);
}
void wb_key_iv_setup_128(WbCoreState& s) {
  start_chain(chain_of(s), s.work->key_iv_setup_128.key, 16,
              s.work->key_iv_setup_128.iv);
}
void wb_key_iv_setup_256(WbCoreState& s) {
  start_chain(chain_of(s), s.work->key_iv_setup_256.key, 32,
              s.work->key_iv_setup_256.iv);
}
void wb_cbc_decrypt_128(WbCoreState& s) {
  cbc_decrypt(chain_of(s), s.work->cbc_decrypt_128);
}
void wb_cbc_decrypt_256(WbCoreState& s) {
  cbc_decrypt(chain_of(s), s.work->cbc_decrypt_256);
}
// The blue form of the reference core is the plain text itself.
void wb_cbc_decrypt_blue_128(WbCoreState& s) {
  cbc_decrypt(chain_of(s), s.work->cbc_decrypt_blue_128);
}
void wb_cbc_decrypt_blue_256(WbCoreState& s) {
  cbc_decrypt(chain_of(s), s.work->cbc_decrypt_blue_256);
}
void wb_cbc_encrypt_blue_128(WbCoreState& s) {
  cbc_encrypt(chain_of(s), s.work->cbc_encrypt_blue_128);
}
void wb_cbc_encrypt_blue_256(WbCoreState& s) {
  cbc_encrypt(chain_of(s), s.work->cbc_encrypt_blue_256);
}

}  // namespace wb_dec
