// PKIWB_encrypt.cpp: see PKIWB_encrypt.h.
//
// Constant time: the wrapper branches and loops only on sizes and the key
// size; the byte encoding through wb_input_encoding is a table look-up
// indexed by plaintext, which is what the white-box form is made for.
#include "PKIWB_encrypt.h"

#include <cstring>

#include "cipher_steps.h"
#include "core_state.h"
#include "wb_core.h"
#include "wiped_buffer.h"

namespace {

const zel_wb::CbcStep<wb_enc::WbCoreState, wb_enc::WbCoreWork> kEncrypt = {
    "ASSERTION FAILED: white_in",      "ASSERTION FAILED: black_out",
    &wb_enc::WbCoreWork::cbc_encrypt_128, &wb_enc::WbCoreWork::cbc_encrypt_256,
    wb_enc::wb_cbc_encrypt_128,        wb_enc::wb_cbc_encrypt_256};

const zel_wb::CoreKeySetups<wb_enc::WbCoreState> kKeySetups = {
    wb_enc::wb_key_setup_128, wb_enc::wb_key_setup_256,
    wb_enc::wb_key_iv_setup_128, wb_enc::wb_key_iv_setup_256};

}  // namespace

PKIWB_encrypt::PKIWB_encrypt(unsigned int keysize_in)
    : wb(zel_wb::new_core_state<wb_enc::WbCoreState>(wb_enc::wb_work_size)),
      keysize(keysize_in) {}

PKIWB_encrypt::~PKIWB_encrypt() {
  zel_wb::delete_core_state(wb, wb_enc::wb_work_size);
}

void PKIWB_encrypt::aes_init(const unsigned char* key) {
  zel_wb::LoadKey(*wb, keysize, key, false, nullptr, kKeySetups);
}

void PKIWB_encrypt::aes_init(const unsigned char* key,
                             const unsigned char* iv) {
  zel_wb::LoadKey(*wb, keysize, key, true, iv, kKeySetups);
}

void PKIWB_encrypt::wb_cbc_encrypt(const unsigned char* white_in,
                                   unsigned char* black_out,
                                   unsigned int in_size) {
  zel_wb::RunCbcStep(kEncrypt, *wb, keysize, white_in, black_out, in_size);
}

unsigned int PKIWB_encrypt::wb_cbc_encrypt_pkcs7(const unsigned char* white_in,
                                                 unsigned char* black_out,
                                                 unsigned int in_size) {
  const unsigned int whole = in_size & ~0xfu;
  const unsigned int tail = in_size - whole;
  // Always first, also for a run of zero blocks, which it refuses: a payload
  // shorter than one block cannot be encrypted.
  wb_cbc_encrypt(white_in, black_out, whole);
  if (tail >= AES_BLOCK_SIZE)
    throw "ASSERTION FAILED: padding_size < AES_BLOCK_SIZE";

  unsigned char last[AES_BLOCK_SIZE];
  std::memcpy(last, white_in + whole, tail);
  // The pad value goes into the core in white form, like the data.
  const unsigned int pad = AES_BLOCK_SIZE - tail;
  std::memset(last + tail, wb_enc::wb_input_encoding[pad], pad);
  try {
    wb_cbc_encrypt(last, black_out + whole, AES_BLOCK_SIZE);
  } catch (...) {
    zel_wb::wipe(last, sizeof last);
    throw;
  }
  zel_wb::wipe(last, sizeof last);
  return whole + AES_BLOCK_SIZE;
}

unsigned int PKIWB_encrypt::get_padded_payload_size(unsigned int n) {
  return (n & ~0xfu) + AES_BLOCK_SIZE;
}

template <typename KeySetup>
unsigned int PKIWB_encrypt::EncryptPayload(const unsigned char* in,
                                           unsigned int payload_size,
                                           unsigned char* out,
                                           KeySetup key_setup) {
  if (payload_size == 0) throw "ASSERTION FAILED: payload_size > 0";
  zel_wb::WipedBuffer white(payload_size);
  for (unsigned int i = 0; i < payload_size; ++i)
    white.data()[i] = wb_enc::wb_input_encoding[in[i]];
  key_setup();
  const unsigned int encrypted_payload_size =
      wb_cbc_encrypt_pkcs7(white.data(), out, payload_size);
  if (encrypted_payload_size < payload_size)
    throw "ASSERTION FAILED: encrypted_payload_size >= payload_size";
  return encrypted_payload_size;
}

unsigned int PKIWB_encrypt::encrypt_payload(const unsigned char* key,
                                            const unsigned char* in,
                                            unsigned int payload_size,
                                            unsigned char* out) {
  return EncryptPayload(in, payload_size, out, [&] { aes_init(key); });
}

unsigned int PKIWB_encrypt::encrypt_payload(const unsigned char* key,
                                            const unsigned char* iv,
                                            const unsigned char* in,
                                            unsigned int payload_size,
                                            unsigned char* out) {
  return EncryptPayload(in, payload_size, out, [&] { aes_init(key, iv); });
}
