// key_schedule.cpp: see key_schedule.h.
#include "key_schedule.h"

#include "wiped_buffer.h"

namespace zel_whitebox {

void expand_protected_key(const KeyTables& tables,
                          const uint8_t* protected_key, unsigned key_len,
                          RoundKeys& keys) {
  const uint8_t* unprotect =
      key_len == 16 ? tables.unprotect_128 : tables.unprotect_256;
  const uint8_t* xor_ = tables.xor_;  // nibble XOR (wb_tables.h)
  const uint8_t* sbox = tables.sbox;
  uint8_t* w = keys.bytes;  // word n at w + 4n
  for (unsigned j = 0; j < key_len; ++j)
    w[j] = unprotect[j * 256 + protected_key[j]];

  const unsigned nk = key_len / 4;
  const unsigned total_words = 4 * (nk + 6 + 1);
  uint8_t t[4];
  for (unsigned n = nk; n < total_words; ++n) {
    const uint8_t* prev = w + 4 * (n - 1);
    if (n % nk == 0) {  // RotWord, SubWord, round constant
      t[0] = nibble_xor(xor_, sbox[prev[1]], tables.rcon[n / nk - 1]);
      t[1] = sbox[prev[2]];
      t[2] = sbox[prev[3]];
      t[3] = sbox[prev[0]];
    } else if (nk == 8 && n % nk == 4) {  // AES-256's extra SubWord
      for (unsigned b = 0; b < 4; ++b) t[b] = sbox[prev[b]];
    } else {
      for (unsigned b = 0; b < 4; ++b) t[b] = prev[b];
    }
    for (unsigned b = 0; b < 4; ++b)
      w[4 * n + b] = nibble_xor(xor_, w[4 * (n - nk) + b], t[b]);
  }
  zel_wb::wipe(t, sizeof t);
}

}  // namespace zel_whitebox
