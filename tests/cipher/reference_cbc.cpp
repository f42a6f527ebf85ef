#include "reference_cbc.h"

#include <stdexcept>

#include "aes_reference.h"

Bytes ReferenceCbcDecrypt(const Bytes& key, const Bytes& iv,
                          const Bytes& ciphertext) {
  if ((key.size() != 16 && key.size() != 32) || iv.size() != 16 ||
      ciphertext.size() % 16 != 0)
    throw std::invalid_argument("ReferenceCbcDecrypt: bad sizes");
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(key.data(), static_cast<unsigned>(key.size()),
                          schedule);
  Bytes plain(ciphertext.size());
  const uint8_t* chain = iv.data();
  for (size_t offset = 0; offset < ciphertext.size(); offset += 16) {
    zel_ref::aes_decrypt_block(schedule, &ciphertext[offset], &plain[offset]);
    for (size_t i = 0; i < 16; ++i) plain[offset + i] ^= chain[i];
    chain = &ciphertext[offset];
  }
  return plain;
}
