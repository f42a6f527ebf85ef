// PKIWB_encrypt.cpp: see PKIWB_encrypt.h.
//
// Constant time: the wrapper branches and loops only on sizes and the key
// size; the byte encoding through wb_input_encoding is a table look-up
// indexed by plaintext, which is what the white-box form is made for.
#include "PKIWB_encrypt.h"

#include <cstring>

#include "core_state.h"
#include "wb_core.h"
#include "wiped_buffer.h"

namespace {
const char kInvalidKeysize[] = "ASSERTION FAILED: 0 && \"Invalid keysize\"";
}  // namespace

PKIWB_encrypt::PKIWB_encrypt(unsigned int keysize_in)
    : wb(zel_wb::new_core_state<wb_enc::WbCoreState>(wb_enc::wb_work_size)),
      keysize(keysize_in) {}

PKIWB_encrypt::~PKIWB_encrypt() {
  zel_wb::delete_core_state(wb, wb_enc::wb_work_size);
}

void PKIWB_encrypt::aes_init(const unsigned char* key) {
  wb_enc::WbCoreWork& work = *wb->work;
  if (keysize == 16) {
    std::memcpy(work.key_setup_128.key, key, 16);
    wb_enc::wb_key_setup_128(*wb);
  } else if (keysize == 32) {
    std::memcpy(work.key_setup_256.key, key, 32);
    wb_enc::wb_key_setup_256(*wb);
  } else {
    throw kInvalidKeysize;
  }
}

void PKIWB_encrypt::aes_init(const unsigned char* key,
                             const unsigned char* iv) {
  wb_enc::WbCoreWork& work = *wb->work;
  if (keysize == 16) {
    std::memcpy(work.key_iv_setup_128.key, key, 16);
    std::memcpy(work.key_iv_setup_128.iv, iv, 16);
    wb_enc::wb_key_iv_setup_128(*wb);
  } else if (keysize == 32) {
    std::memcpy(work.key_iv_setup_256.key, key, 32);
    std::memcpy(work.key_iv_setup_256.iv, iv, 16);
    wb_enc::wb_key_iv_setup_256(*wb);
  } else {
    throw kInvalidKeysize;
  }
}

void PKIWB_encrypt::wb_cbc_encrypt(const unsigned char* white_in,
                                   unsigned char* black_out,
                                   unsigned int in_size) {
  if (in_size == 0) throw "ASSERTION FAILED: in_size != 0";
  if (in_size % AES_BLOCK_SIZE != 0)
    throw "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0";
  if (white_in == nullptr) throw "ASSERTION FAILED: white_in";
  if (black_out == nullptr) throw "ASSERTION FAILED: black_out";
  const zel_wb::WbCbcParams params = {white_in, in_size, black_out};
  if (keysize == 16) {
    wb->work->cbc_encrypt_128 = params;
    wb_enc::wb_cbc_encrypt_128(*wb);
  } else if (keysize == 32) {
    wb->work->cbc_encrypt_256 = params;
    wb_enc::wb_cbc_encrypt_256(*wb);
  } else {
    throw kInvalidKeysize;
  }
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
