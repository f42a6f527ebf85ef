// PKIWB_decrypt.cpp: see PKIWB_decrypt.h.
//
// Constant time: the wrapper branches on sizes, the key size and the
// decoded pad byte (whose range check is the only padding check there is);
// the decoding through wb_output_decoding is indexed by plaintext, which is
// what the white-box form is made for.
#include "PKIWB_decrypt.h"

#include <cstring>

#include "cipher_steps.h"
#include "core_state.h"
#include "wb_core.h"
#include "wiped_buffer.h"

namespace {

using Step = zel_wb::CbcStep<wb_dec::WbCoreState, wb_dec::WbCoreWork>;

const Step kDecrypt = {
    "ASSERTION FAILED: black_in",     "ASSERTION FAILED: yellow_out",
    &wb_dec::WbCoreWork::cbc_decrypt_128, &wb_dec::WbCoreWork::cbc_decrypt_256,
    wb_dec::wb_cbc_decrypt_128,       wb_dec::wb_cbc_decrypt_256};

const Step kDecryptBlue = {
    "ASSERTION FAILED: black_in",
    "ASSERTION FAILED: blue_out",
    &wb_dec::WbCoreWork::cbc_decrypt_blue_128,
    &wb_dec::WbCoreWork::cbc_decrypt_blue_256,
    wb_dec::wb_cbc_decrypt_blue_128,
    wb_dec::wb_cbc_decrypt_blue_256};

const Step kEncryptBlue = {
    "ASSERTION FAILED: blue_in",
    "ASSERTION FAILED: black_out",
    &wb_dec::WbCoreWork::cbc_encrypt_blue_128,
    &wb_dec::WbCoreWork::cbc_encrypt_blue_256,
    wb_dec::wb_cbc_encrypt_blue_128,
    wb_dec::wb_cbc_encrypt_blue_256};

const zel_wb::CoreKeySetups<wb_dec::WbCoreState> kKeySetups = {
    wb_dec::wb_key_setup_128, wb_dec::wb_key_setup_256,
    wb_dec::wb_key_iv_setup_128, wb_dec::wb_key_iv_setup_256};

}  // namespace

PKIWB_decrypt::PKIWB_decrypt(unsigned int keysize_in)
    : wb(zel_wb::new_core_state<wb_dec::WbCoreState>(wb_dec::wb_work_size)),
      keysize(keysize_in) {}

PKIWB_decrypt::~PKIWB_decrypt() {
  zel_wb::delete_core_state(wb, wb_dec::wb_work_size);
}

void PKIWB_decrypt::aes_init(const unsigned char* key) {
  zel_wb::LoadKey(*wb, keysize, key, false, nullptr, kKeySetups);
}

void PKIWB_decrypt::aes_init(const unsigned char* key,
                             const unsigned char* iv) {
  zel_wb::LoadKey(*wb, keysize, key, true, iv, kKeySetups);
}

void PKIWB_decrypt::wb_cbc_decrypt(const unsigned char* black_in,
                                   unsigned char* yellow_out,
                                   unsigned int in_size) {
  zel_wb::RunCbcStep(kDecrypt, *wb, keysize, black_in, yellow_out, in_size);
}

void PKIWB_decrypt::wb_cbc_decrypt_for_recrypt(const unsigned char* black_in,
                                               unsigned char* blue_out,
                                               unsigned int in_size) {
  zel_wb::RunCbcStep(kDecryptBlue, *wb, keysize, black_in, blue_out, in_size);
}

void PKIWB_decrypt::wb_cbc_encrypt(const unsigned char* blue_in,
                                   unsigned char* black_out,
                                   unsigned int in_size) {
  zel_wb::RunCbcStep(kEncryptBlue, *wb, keysize, blue_in, black_out, in_size);
}

unsigned int PKIWB_decrypt::wb_cbc_decrypt_pkcs7(const unsigned char* black_in,
                                                 unsigned char* yellow_out,
                                                 unsigned int in_size) {
  zel_wb::CheckCbcArguments(kDecrypt, black_in, yellow_out, in_size);
  wb_cbc_decrypt(black_in, yellow_out, in_size);
  // Only the last byte is checked (see the header's warning).
  const unsigned char c = wb_dec::wb_output_decoding[yellow_out[in_size - 1]];
  if (c == 0) throw "ASSERTION FAILED: (size_t)c > 0";
  if (c > AES_BLOCK_SIZE) throw "ASSERTION FAILED: (size_t)c <= AES_BLOCK_SIZE";
  return in_size - c;
}

template <typename KeySetup>
unsigned int PKIWB_decrypt::DecryptPayload(const unsigned char* in,
                                           unsigned int payload_size,
                                           unsigned char* out,
                                           KeySetup key_setup) {
  // No size check here: the CBC step's checks report a bad size.
  zel_wb::WipedBuffer yellow(payload_size);
  key_setup();
  const unsigned int decrypted_payload_size =
      wb_cbc_decrypt_pkcs7(in, yellow.data(), payload_size);
  if (payload_size < decrypted_payload_size)
    throw "ASSERTION FAILED: decrypted_payload_size <= payload_size";
  for (unsigned int i = 0; i < decrypted_payload_size; ++i)
    out[i] = wb_dec::wb_output_decoding[yellow.data()[i]];
  return decrypted_payload_size;
}

unsigned int PKIWB_decrypt::decrypt_payload(const unsigned char* key,
                                            const unsigned char* in,
                                            unsigned int payload_size,
                                            unsigned char* out) {
  return DecryptPayload(in, payload_size, out, [&] { aes_init(key); });
}

unsigned int PKIWB_decrypt::decrypt_payload(const unsigned char* key,
                                            const unsigned char* iv,
                                            const unsigned char* in,
                                            unsigned int payload_size,
                                            unsigned char* out) {
  return DecryptPayload(in, payload_size, out, [&] { aes_init(key, iv); });
}

void PKIWB_decrypt::recrypt_payload(const unsigned char* key,
                                    const unsigned char* iv,
                                    const unsigned char* in,
                                    unsigned int payload_size,
                                    unsigned char* out) {
  zel_wb::WipedBuffer blue(payload_size);
  aes_init(key);
  wb_cbc_decrypt_for_recrypt(in, blue.data(), payload_size);
  aes_init(key, iv);
  wb_cbc_encrypt(blue.data(), out, payload_size);
}
