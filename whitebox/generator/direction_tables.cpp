// direction_tables.cpp: the tables that the forward and the inverse
// direction build alike: a copy's tables (column-sum XOR tables, per-layer
// re-encodings, the S-box/MixColumns tables that key setups index, the
// S-box step, the key XOR tables, output forms), nibble XOR tables and the
// vote tables.
#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {
namespace {

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
      const ByteMap from_linear = inverse_of(enc.term_linear[l - 1][pos]);
      for (unsigned r = 0; r < 256; ++r)
        table.push_back(enc.layer[l][pos][from_linear[from_sum[r]] ^ mask]);
    }
  return table;
}

Words build_sbox_mix(const DirectionEncodings& enc,
                     const uint8_t coefficients[4], bool apply_sbox) {
  const ByteMap from = inverse_of(enc.sbox_in);
  Words table;
  for (unsigned l = 0; l + 1 < kLayers; ++l)
    for (unsigned i = 0; i < 16; ++i) {
      const unsigned row = i & 3, col = column_dest(enc.inverse, i);
      for (unsigned h = 0; h < 256; ++h) {
        const uint8_t y = from[h];
        const uint8_t value = apply_sbox ? zel_ref::aes_sbox(y) : y;
        uint32_t word = 0;
        for (unsigned m = 0; m < 4; ++m) {
          const unsigned d = (row - m) & 3;
          const uint8_t term = enc.term_linear[l][m + 4 * col][
              zel_ref::gf_mul(value, coefficients[d]) ^ enc.term_mask[l][i][m]];
          word |= static_cast<uint32_t>(enc.term[d][term]) << (8 * m);
        }
        table.push_back(word);
      }
    }
  return table;
}

// The halves of a nibble encoding |map|: half 0 maps the high nibble, half
// 1 the low one.
unsigned half_of(const ByteMap& map, unsigned half, unsigned v) {
  return half == 0 ? map[v << 4] >> 4 : map[v] & 15;
}

// build_out_forms: [i][N(v)] -> N[i](v).
Bytes build_out_forms(const DirectionEncodings& enc) {
  const ByteMap from_out = inverse_of(enc.out);
  Bytes table;
  for (unsigned i = 0; i < 16; ++i)
    for (unsigned n = 0; n < 256; ++n)
      table.push_back(enc.out_position[i][from_out[n]]);
  return table;
}

}  // namespace

ByteMap identity_map() {
  ByteMap map;
  for (unsigned x = 0; x < 256; ++x) map[x] = static_cast<uint8_t>(x);
  return map;
}

Bytes nibble_xor_table(const ByteMap& a, const ByteMap& b,
                       const ByteMap& out) {
  const ByteMap from_a = inverse_of(a), from_b = inverse_of(b);
  Bytes table(zel_whitebox::kNibbleXorSize);
  for (unsigned x = 0; x < 16; ++x)
    for (unsigned y = 0; y < 16; ++y) {
      const unsigned hi =
          half_of(out, 0, half_of(from_a, 0, x) ^ half_of(from_b, 0, y));
      const unsigned lo =
          half_of(out, 1, half_of(from_a, 1, x) ^ half_of(from_b, 1, y));
      table[x << 4 | y] = static_cast<uint8_t>(hi << 4 | lo);
    }
  return table;
}

namespace {

// key_use gives the second input and the output form of the key XOR table
// of expanded key byte |index| (RoundKeys order) of a core with |rounds|
// rounds.
//   Forward: round keys 0 to rounds - 1 meet the state in the entry form U
//   (shared by the copies, see build_forward_tables) and give the S-box
//   input form H; the last round key meets the S-box output Q and gives N.
//   Inverse: the last round key meets the plain ciphertext and gives the
//   copy's entry form U; round key 0 (the last layer's) meets Q and gives
//   N; the others meet Q and give H.
struct KeyByteUse {
  const ByteMap* second;
  const ByteMap* out;
};
KeyByteUse key_use(const DirectionEncodings& enc, unsigned rounds,
                   unsigned index) {
  static const ByteMap plain = identity_map();
  if (!enc.inverse) {
    if (index < 16 * rounds) return {&enc.entry, &enc.sbox_in};
    return {&enc.sbox_out, &enc.out};
  }
  if (index >= 16 * rounds) return {&plain, &enc.entry};
  if (index < 16) return {&enc.sbox_out, &enc.out};
  return {&enc.sbox_out, &enc.sbox_in};
}

// build_key_xor builds a copy's key XOR tables in the runtime's order (one
// per AES-256 key byte, then AES-128 round key 10).
Bytes build_key_xor(const DirectionEncodings& enc,
                    const std::vector<ByteMap>& word_forms) {
  Bytes tables;
  const auto add = [&](unsigned rounds, unsigned index) {
    const KeyByteUse byte_use = key_use(enc, rounds, index);
    const Bytes table =
        nibble_xor_table(word_forms[index], *byte_use.second, *byte_use.out);
    tables.insert(tables.end(), table.begin(), table.end());
  };
  for (unsigned index = 0; index < zel_whitebox::kWords256 * 4; ++index)
    add(zel_whitebox::kMaxRounds, index);
  for (unsigned index = zel_whitebox::kAes128LastKey;
       index < zel_whitebox::kWords128 * 4; ++index)
    add(10, index);
  return tables;
}

}  // namespace

CopyTableSet build_copy_tables(const DirectionEncodings& enc,
                               const std::vector<ByteMap>& word_forms) {
  CopyTableSet set;
  // The inverse direction's layer 0 reads the ciphertext itself: its maps
  // start at layer 1.
  set.entry_index = build_layer_maps(enc, enc.entry, enc.inverse ? 1 : 0);
  set.reencode = build_reencode(enc);
  for (unsigned t = 0; t < 3; ++t) set.mix_xor[t] = build_mix_xor(enc, t);
  set.sbox_mix = build_sbox_mix(
      enc, enc.inverse ? kInvMixCoefficients : kMixCoefficients, !enc.inverse);
  // Forward [H(y)] -> Q(S(y)); inverse [U(a)] -> Q(InvS(a)).
  const ByteMap from = inverse_of(enc.inverse ? enc.entry : enc.sbox_in);
  set.sbox_step.resize(256);
  for (unsigned v = 0; v < 256; ++v)
    set.sbox_step[v] = enc.sbox_out[enc.inverse ? zel_ref::aes_inv_sbox(from[v])
                                                : zel_ref::aes_sbox(from[v])];
  set.key_xor = build_key_xor(enc, word_forms);
  set.out_form = build_out_forms(enc);
  return set;
}

Bytes build_vote(const Copies& enc, const std::array<ByteMap, 16>& result) {
  Bytes table(zel_whitebox::kVoteSize);
  for (unsigned i = 0; i < 16; ++i) {
    const ByteMap from[3] = {inverse_of(enc[0].out_position[i]),
                             inverse_of(enc[1].out_position[i]),
                             inverse_of(enc[2].out_position[i])};
    for (unsigned half = 0; half < 2; ++half)
      for (unsigned n = 0; n < 4096; ++n) {
        const unsigned a = half_of(from[0], half, n >> 8);
        const unsigned b = half_of(from[1], half, (n >> 4) & 15);
        const unsigned c = half_of(from[2], half, n & 15);
        const unsigned majority = (a & b) | (a & c) | (b & c);
        const unsigned entry = (i * 2 + half) * 4096 + n;
        table[entry / 2] |= static_cast<uint8_t>(
            half_of(result[i], half, majority) << 4 * (entry % 2));
      }
  }
  return table;
}

}  // namespace zel_wbgen
