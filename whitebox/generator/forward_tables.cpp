// forward_tables.cpp: the tables of the encryption direction.
#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {
namespace {

CopyTableSet build_copy(const DirectionEncodings& enc, const ByteMap& entry,
                        const ByteMap& key_form) {
  const ByteMap from_sbox_in = inverse_of(enc.sbox_in);
  CopyTableSet set;
  set.entry_index = build_layer_maps(enc, entry, 0);
  set.reencode = build_reencode(enc);
  for (unsigned t = 0; t < 3; ++t) set.mix_xor[t] = build_mix_xor(enc, t);
  set.sbox_mix = build_sbox_mix(enc, kMixCoefficients, true);
  set.sbox_step.resize(256);
  for (unsigned h = 0; h < 256; ++h)
    set.sbox_step[h] = enc.sbox_out[zel_ref::aes_sbox(from_sbox_in[h])];
  set.key_xor = nibble_xor_table(key_form, entry, enc.sbox_in);
  set.last_key_xor = nibble_xor_table(key_form, enc.sbox_out, enc.out);
  set.out_form = build_out_forms(enc);
  return set;
}

}  // namespace

ForwardTableSet build_forward_tables(const Copies& enc, const ByteMap& white,
                                     const ByteMap& key_form) {
  const ByteMap& entry = enc[0].entry;
  const ByteMap from_white = inverse_of(white);
  ForwardTableSet set;
  set.input_xor.resize(zel_whitebox::kXorTableSize);
  for (unsigned a = 0; a < 256; ++a)
    for (unsigned b = 0; b < 256; ++b)
      set.input_xor[a * 256 + b] = entry[from_white[a] ^ b];
  for (unsigned c = 0; c < kCopies; ++c)
    set.copy[c] = build_copy(enc[c], entry, key_form);
  std::array<ByteMap, 16> plain;
  plain.fill(identity_map());
  set.vote = build_vote(enc, plain);
  return set;
}

}  // namespace zel_wbgen
