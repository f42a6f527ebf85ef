// check_value.cpp: see check_value.h.
#include "check_value.h"

#include "aes_reference.h"
#include "key_protection.h"

namespace zel_egsk {

std::string check_line(const uint8_t* raw, unsigned key_len) {
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(raw, key_len, schedule);
  uint8_t block[16] = {0};
  zel_ref::aes_encrypt_block(schedule, block, block);
  zel_ref::aes_wipe(schedule);
  static const char kHex[] = "0123456789abcdef";
  std::string line = key_len == 16 ? "zel-egsk-check aes128 " : "zel-egsk-check aes256 ";
  for (unsigned i = 0; i < 8; ++i) {
    line += kHex[block[i] >> 4];
    line += kHex[block[i] & 15];
  }
  zel_ref::secure_wipe(block, sizeof block);
  return line + "\n";
}

std::string check_line_of_protected(const uint8_t seed[32],
                                    const uint8_t* protected_key,
                                    unsigned key_len) {
  uint8_t raw[32];
  zel_wbgen::unprotect_key(seed, protected_key, key_len, raw);
  const std::string line = check_line(raw, key_len);
  zel_ref::secure_wipe(raw, sizeof raw);
  return line;
}

}  // namespace zel_egsk
