// key_schedule.cpp: see key_schedule.h.
#include "key_schedule.h"

#include "wiped_buffer.h"

namespace zel_whitebox {

namespace {

void expand_one(const KeySchedule& ks, const uint8_t* protected_key,
                unsigned key_len, uint8_t* w) {  // word n at w + 4n, in KW[n]
  for (unsigned j = 0; j < key_len; ++j)
    w[j] = ks.unprotect[j * 256 + protected_key[j]];

  const unsigned nk = key_len / 4;
  const unsigned total_words = 4 * (nk + 6 + 1);
  unsigned step = 0;
  uint8_t t[4];
  for (unsigned n = nk; n < total_words; ++n) {
    const uint8_t* prev = w + 4 * (n - 1);
    const bool rot = n % nk == 0;
    if (rot || (nk == 8 && n % nk == 4)) {  // SubWord (after RotWord)
      for (unsigned b = 0; b < 4; ++b)
        t[b] = ks.sub_word[(step * 4 + b) * 256 + prev[rot ? (b + 1) & 3 : b]];
      ++step;
    } else {
      for (unsigned b = 0; b < 4; ++b) t[b] = prev[b];
    }
    for (unsigned b = 0; b < 4; ++b)
      w[4 * n + b] = nibble_xor(ks.xor_ + ((n - nk) * 4 + b) * kNibbleXorSize,
                                w[4 * (n - nk) + b], t[b]);
  }
  zel_wb::wipe(t, sizeof t);
}

}  // namespace

void expand_protected_key(const KeyTables* tables,
                          const uint8_t* protected_key, unsigned key_len,
                          RoundKeys& keys) {
  for (unsigned c = 0; c < kCopies; ++c)
    expand_one(key_len == 16 ? tables[c].aes128 : tables[c].aes256,
               protected_key, key_len, keys.bytes[c]);
}

}  // namespace zel_whitebox
