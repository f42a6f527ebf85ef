// core_encoding.h: the core's byte encodings, for tests that drive the CBC
// steps directly.
//
// encrypt_payload and decrypt_payload apply the encodings themselves; the
// single CBC steps (wb_cbc_encrypt, wb_cbc_decrypt) take and give encoded
// bytes, so a test comparing them with plain AES must map its plaintext
// into white form and the yellow output back.
#ifndef ZEL_TESTS_CIPHER_CORE_ENCODING_H
#define ZEL_TESTS_CIPHER_CORE_ENCODING_H

#include <cstdint>
#include <vector>

#include "wb_core.h"

// ToWhite maps plain bytes into the encryptor core's input encoding.
inline std::vector<uint8_t> ToWhite(const std::vector<uint8_t>& plain) {
  std::vector<uint8_t> white(plain.size());
  for (size_t i = 0; i < plain.size(); ++i)
    white[i] = wb_enc::wb_input_encoding[plain[i]];
  return white;
}

// FromYellow maps the decryptor core's output back to plain bytes.
inline std::vector<uint8_t> FromYellow(const std::vector<uint8_t>& yellow) {
  std::vector<uint8_t> plain(yellow.size());
  for (size_t i = 0; i < yellow.size(); ++i)
    plain[i] = wb_dec::wb_output_decoding[yellow[i]];
  return plain;
}

#endif  // ZEL_TESTS_CIPHER_CORE_ENCODING_H
