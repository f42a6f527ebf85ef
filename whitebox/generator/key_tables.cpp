// key_tables.cpp: the tables that turn the protected key into the key
// schedule's forms and run the key schedule on them; every expanded byte
// keeps the form of its word and byte.
#include <cstddef>

#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {

KeyScheduleSet build_key_schedule(ChaCha20Stream& stream,
                                  const std::vector<ByteMap>& protect,
                                  const std::vector<ByteMap>& word_form) {
  const unsigned key_len = static_cast<unsigned>(protect.size());
  const unsigned nk = key_len / 4, words = 4 * (nk + 7);
  KeyScheduleSet set;
  set.unprotect.resize(key_len * 256);
  for (unsigned j = 0; j < key_len; ++j)
    for (unsigned k = 0; k < 256; ++k)
      set.unprotect[j * 256 + protect[j][k]] = word_form[j][k];
  uint8_t rcon = 1;
  for (unsigned n = nk; n < words; ++n) {
    const bool rot = n % nk == 0;
    ByteMap second[4];
    for (unsigned b = 0; b < 4; ++b) second[b] = word_form[4 * (n - 1) + b];
    if (rot || (nk == 8 && n % nk == 4)) {
      for (unsigned b = 0; b < 4; ++b) {
        second[b] = random_nibble_encoding(stream);  // T[step][b]
        const ByteMap from = inverse_of(word_form[4 * (n - 1) + (rot ? (b + 1) & 3 : b)]);
        const uint8_t constant = rot && b == 0 ? rcon : 0;
        for (unsigned x = 0; x < 256; ++x)
          set.sub_word.push_back(
              second[b][zel_ref::aes_sbox(from[x]) ^ constant]);
      }
      if (rot) rcon = zel_ref::gf_mul(rcon, 2);
    }
    for (unsigned b = 0; b < 4; ++b) {
      const Bytes table = nibble_xor_table(word_form[4 * (n - nk) + b],
                                           second[b], word_form[4 * n + b]);
      set.xor_.insert(set.xor_.end(), table.begin(), table.end());
    }
  }
  return set;
}

}  // namespace zel_wbgen
