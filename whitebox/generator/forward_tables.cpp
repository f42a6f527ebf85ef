// forward_tables.cpp: the tables of the encryption direction.
#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {
namespace {

// Forward, round keys 0 to rounds - 1 meet the state in the entry form U
// (shared by the copies, see build_forward_tables) and give the S-box
// input form H; the last round key meets the S-box output Q and gives N.
KeyByteUse forward_key_use(const DirectionEncodings& enc, unsigned rounds,
                           unsigned index) {
  if (index < 16 * rounds) return {&enc.entry, &enc.sbox_in};
  return {&enc.sbox_out, &enc.out};
}

CopyTableSet build_copy(const DirectionEncodings& enc,
                        const std::vector<ByteMap>& word_forms) {
  const ByteMap from_sbox_in = inverse_of(enc.sbox_in);
  CopyTableSet set;
  set.entry_index = build_layer_maps(enc, enc.entry, 0);
  set.reencode = build_reencode(enc);
  for (unsigned t = 0; t < 3; ++t) set.mix_xor[t] = build_mix_xor(enc, t);
  set.sbox_mix = build_sbox_mix(enc, kMixCoefficients, true);
  set.sbox_step.resize(256);
  for (unsigned h = 0; h < 256; ++h)
    set.sbox_step[h] = enc.sbox_out[zel_ref::aes_sbox(from_sbox_in[h])];
  set.key_xor = build_key_xor(enc, word_forms, forward_key_use);
  set.out_form = build_out_forms(enc);
  return set;
}

}  // namespace

ForwardTableSet build_forward_tables(const Copies& enc, const ByteMap& white,
                                     const ScheduleForms& key_forms) {
  // One input XOR serves every copy, so the copies share its output form U
  // (the caller draws them so: every copy's entry is copy 0's).
  const ByteMap& entry = enc[0].entry;
  ForwardTableSet set;
  set.input_xor = nibble_xor_table(white, identity_map(), entry);
  for (unsigned c = 0; c < kCopies; ++c)
    set.copy[c] = build_copy(enc[c], key_forms[c]);
  std::array<ByteMap, 16> plain;
  plain.fill(identity_map());
  set.vote = build_vote(enc, plain);
  return set;
}

}  // namespace zel_wbgen
