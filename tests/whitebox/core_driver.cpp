// core_driver.cpp: see core_driver.h.
#include "core_driver.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "aes_reference.h"

#ifndef ZEL_WB_PROTECTED_KEYS
#define ZEL_WB_PROTECTED_KEYS
#endif
#include "test_keys.h"

// The white-box tests always key the white-box core, whichever core the
// library was built with; the wrapping is shared with the cipher tests.
Bytes protect_with_build_seed(const Bytes& raw) { return CoreKeyForm(raw); }

namespace {

Bytes block_iv(const Bytes& iv) { return iv.empty() ? Bytes(16, 0) : iv; }

}  // namespace

Bytes reference_cbc_encrypt(const Bytes& raw_key, const Bytes& iv,
                            const Bytes& plain) {
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(raw_key.data(),
                          static_cast<unsigned>(raw_key.size()), schedule);
  Bytes chain = block_iv(iv), out(plain.size());
  for (size_t offset = 0; offset < plain.size(); offset += 16) {
    uint8_t block[16];
    for (int i = 0; i < 16; ++i) block[i] = plain[offset + i] ^ chain[i];
    zel_ref::aes_encrypt_block(schedule, block, chain.data());
    std::memcpy(&out[offset], chain.data(), 16);
  }
  zel_ref::aes_wipe(schedule);
  return out;
}

Bytes reference_cbc_decrypt(const Bytes& raw_key, const Bytes& iv,
                            const Bytes& cipher) {
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(raw_key.data(),
                          static_cast<unsigned>(raw_key.size()), schedule);
  Bytes chain = block_iv(iv), out(cipher.size());
  for (size_t offset = 0; offset < cipher.size(); offset += 16) {
    uint8_t block[16];
    zel_ref::aes_decrypt_block(schedule, &cipher[offset], block);
    for (int i = 0; i < 16; ++i) out[offset + i] = block[i] ^ chain[i];
    std::memcpy(chain.data(), &cipher[offset], 16);
  }
  zel_ref::aes_wipe(schedule);
  return out;
}

Bytes to_white(const Bytes& plain) {
  Bytes out;
  for (uint8_t b : plain) out.push_back(wb_enc::wb_input_encoding[b]);
  return out;
}

Bytes from_yellow(const Bytes& yellow) {
  Bytes out;
  for (uint8_t b : yellow) out.push_back(wb_dec::wb_output_decoding[b]);
  return out;
}

namespace {

// run_cbc writes |params| with |in| and a fresh output (or |in| itself)
// and calls |routine|.
template <typename State>
Bytes run_cbc(State& state, zel_wb::WbCbcParams& params,
              void (*routine)(State&), const Bytes& in, bool in_place) {
  Bytes buffer = in;
  Bytes out(in.size());
  params.in = buffer.data();
  params.size = static_cast<uint32_t>(in.size());
  params.out = in_place ? buffer.data() : out.data();
  routine(state);
  return in_place ? buffer : out;
}

template <typename Work>
void load_key(Work& work, const Bytes& key, const Bytes& iv) {
  if (key.size() == 16 && iv.empty())
    std::memcpy(work.key_setup_128.key, key.data(), 16);
  else if (key.size() == 32 && iv.empty())
    std::memcpy(work.key_setup_256.key, key.data(), 32);
  else if (key.size() == 16)
    std::memcpy(work.key_iv_setup_128.key, key.data(), 16),
        std::memcpy(work.key_iv_setup_128.iv, iv.data(), 16);
  else
    std::memcpy(work.key_iv_setup_256.key, key.data(), 32),
        std::memcpy(work.key_iv_setup_256.iv, iv.data(), 16);
}

}  // namespace

EncryptorCore::EncryptorCore() {
  state_.work = static_cast<wb_enc::WbCoreWork*>(
      std::malloc(wb_enc::wb_work_size));
  state_.aux = 0;
}

EncryptorCore::~EncryptorCore() {
  zel_ref::secure_wipe(state_.work, wb_enc::wb_work_size);
  std::free(state_.work);
}

void EncryptorCore::key_setup(const Bytes& key, const Bytes& iv) {
  key_len_ = static_cast<unsigned>(key.size());
  load_key(*state_.work, key, iv);
  if (iv.empty())
    (key_len_ == 16 ? wb_enc::wb_key_setup_128
                    : wb_enc::wb_key_setup_256)(state_);
  else
    (key_len_ == 16 ? wb_enc::wb_key_iv_setup_128
                    : wb_enc::wb_key_iv_setup_256)(state_);
}

Bytes EncryptorCore::encrypt(const Bytes& white, bool in_place) {
  wb_enc::WbCoreWork& w = *state_.work;
  return key_len_ == 16
             ? run_cbc(state_, w.cbc_encrypt_128, wb_enc::wb_cbc_encrypt_128,
                       white, in_place)
             : run_cbc(state_, w.cbc_encrypt_256, wb_enc::wb_cbc_encrypt_256,
                       white, in_place);
}

DecryptorCore::DecryptorCore() {
  state_.work = static_cast<wb_dec::WbCoreWork*>(
      std::malloc(wb_dec::wb_work_size));
  state_.aux = 0;
}

DecryptorCore::~DecryptorCore() {
  zel_ref::secure_wipe(state_.work, wb_dec::wb_work_size);
  std::free(state_.work);
}

void DecryptorCore::key_setup(const Bytes& key, const Bytes& iv) {
  key_len_ = static_cast<unsigned>(key.size());
  load_key(*state_.work, key, iv);
  if (iv.empty())
    (key_len_ == 16 ? wb_dec::wb_key_setup_128
                    : wb_dec::wb_key_setup_256)(state_);
  else
    (key_len_ == 16 ? wb_dec::wb_key_iv_setup_128
                    : wb_dec::wb_key_iv_setup_256)(state_);
}

Bytes DecryptorCore::decrypt(const Bytes& black, bool in_place) {
  wb_dec::WbCoreWork& w = *state_.work;
  return key_len_ == 16
             ? run_cbc(state_, w.cbc_decrypt_128, wb_dec::wb_cbc_decrypt_128,
                       black, in_place)
             : run_cbc(state_, w.cbc_decrypt_256, wb_dec::wb_cbc_decrypt_256,
                       black, in_place);
}

Bytes DecryptorCore::decrypt_blue(const Bytes& black) {
  wb_dec::WbCoreWork& w = *state_.work;
  return key_len_ == 16
             ? run_cbc(state_, w.cbc_decrypt_blue_128,
                       wb_dec::wb_cbc_decrypt_blue_128, black, false)
             : run_cbc(state_, w.cbc_decrypt_blue_256,
                       wb_dec::wb_cbc_decrypt_blue_256, black, false);
}

Bytes DecryptorCore::encrypt_blue(const Bytes& blue) {
  wb_dec::WbCoreWork& w = *state_.work;
  return key_len_ == 16
             ? run_cbc(state_, w.cbc_encrypt_blue_128,
                       wb_dec::wb_cbc_encrypt_blue_128, blue, false)
             : run_cbc(state_, w.cbc_encrypt_blue_256,
                       wb_dec::wb_cbc_encrypt_blue_256, blue, false);
}
