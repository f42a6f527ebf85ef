// direction_tables.cpp: the tables that the forward and the inverse
// direction build alike: column-sum XOR tables, per-layer re-encodings and
// the S-box/MixColumns tables that key setups index.
#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {

Bytes build_mix_xor(const DirectionEncodings& enc, unsigned which) {
  // 0: terms 0 and 1 -> A; 1: terms 2 and 3 -> B; 2: A and B -> R.
  const ByteMap first =
      which == 0 ? inverse_of(enc.term[0])
                 : which == 1 ? inverse_of(enc.term[2]) : inverse_of(enc.half_a);
  const ByteMap second =
      which == 0 ? inverse_of(enc.term[1])
                 : which == 1 ? inverse_of(enc.term[3]) : inverse_of(enc.half_b);
  const ByteMap& out = which == 0 ? enc.half_a : which == 1 ? enc.half_b : enc.sum;
  Bytes table(256 * 256);
  for (unsigned a = 0; a < 256; ++a)
    for (unsigned b = 0; b < 256; ++b)
      table[a * 256 + b] = out[first[a] ^ second[b]];
  return table;
}

Bytes build_layer_maps(const DirectionEncodings& enc, const ByteMap& source,
                       unsigned first_layer) {
  const ByteMap from = inverse_of(source);
  Bytes table;
  for (unsigned l = first_layer; l < kLayers; ++l)
    for (unsigned i = 0; i < 16; ++i)
      for (unsigned x = 0; x < 256; ++x)
        table.push_back(enc.layer[l][i][from[x]]);
  return table;
}

Bytes build_reencode(const DirectionEncodings& enc) {
  const ByteMap from_sum = inverse_of(enc.sum);
  Bytes table;
  for (unsigned l = 1; l < kLayers; ++l)
    for (unsigned pos = 0; pos < 16; ++pos) {
      // The masks that the four terms summed into |pos| carried.
      const unsigned row = pos & 3, col = pos >> 2;
      uint8_t mask = 0;
      for (unsigned j = 0; j < 4; ++j)
        mask ^= enc.term_mask[l - 1][column_source(enc.inverse, j, col)][row];
      for (unsigned r = 0; r < 256; ++r)
        table.push_back(enc.layer[l][pos][from_sum[r] ^ mask]);
    }
  return table;
}

Words build_sbox_mix(const DirectionEncodings& enc,
                     const uint8_t coefficients[4], bool apply_sbox) {
  const ByteMap from = inverse_of(enc.sbox_in);
  Words table;
  for (unsigned l = 0; l + 1 < kLayers; ++l)
    for (unsigned i = 0; i < 16; ++i) {
      const unsigned row = i & 3;
      for (unsigned h = 0; h < 256; ++h) {
        const uint8_t y = from[h];
        const uint8_t value = apply_sbox ? zel_ref::aes_sbox(y) : y;
        uint32_t word = 0;
        for (unsigned m = 0; m < 4; ++m) {
          const unsigned d = (row - m) & 3;
          const uint8_t term = zel_ref::gf_mul(value, coefficients[d]) ^
                               enc.term_mask[l][i][m];
          word |= static_cast<uint32_t>(enc.term[d][term]) << (8 * m);
        }
        table.push_back(word);
      }
    }
  return table;
}

}  // namespace zel_wbgen
