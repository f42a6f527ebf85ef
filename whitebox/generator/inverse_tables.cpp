// inverse_tables.cpp: the tables of the decryption direction.
#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {
namespace {

// Inverse, the last round key meets the plain ciphertext and gives the
// copy's entry form U; round key 0 (the last layer's) meets the S-box
// output Q and gives N; the others meet Q and give H.
KeyByteUse inverse_key_use(const DirectionEncodings& enc, unsigned rounds,
                           unsigned index) {
  static const ByteMap plain = identity_map();
  if (index >= 16 * rounds) return {&plain, &enc.entry};
  if (index < 16) return {&enc.sbox_out, &enc.out};
  return {&enc.sbox_out, &enc.sbox_in};
}

CopyTableSet build_copy(const DirectionEncodings& enc,
                        const std::vector<ByteMap>& word_forms) {
  const ByteMap from_entry = inverse_of(enc.entry);
  CopyTableSet set;
  // Layer 0 reads the ciphertext itself: maps start at layer 1.
  set.entry_index = build_layer_maps(enc, enc.entry, 1);
  set.reencode = build_reencode(enc);
  for (unsigned t = 0; t < 3; ++t) set.mix_xor[t] = build_mix_xor(enc, t);
  set.sbox_mix = build_sbox_mix(enc, kInvMixCoefficients, false);
  set.sbox_step.resize(256);
  for (unsigned u = 0; u < 256; ++u)
    set.sbox_step[u] = enc.sbox_out[zel_ref::aes_inv_sbox(from_entry[u])];
  set.key_xor = build_key_xor(enc, word_forms, inverse_key_use);
  set.out_form = build_out_forms(enc);
  return set;
}

}  // namespace

InverseTableSet build_inverse_tables(const Copies& enc,
                                     const ScheduleForms& key_forms,
                                     const std::array<ByteMap, 16>& voted,
                                     const std::array<ByteMap, 16>& chained,
                                     const ByteMap& yellow,
                                     const ByteMap& blue) {
  InverseTableSet set;
  for (unsigned c = 0; c < kCopies; ++c)
    set.copy[c] = build_copy(enc[c], key_forms[c]);
  set.vote = build_vote(enc, voted);
  for (unsigned i = 0; i < 16; ++i) {
    const Bytes chain_xor =
        nibble_xor_table(voted[i], identity_map(), chained[i]);
    set.chain_xor.insert(set.chain_xor.end(), chain_xor.begin(),
                         chain_xor.end());
    const ByteMap from_chained = inverse_of(chained[i]);
    for (unsigned v = 0; v < 256; ++v) {
      set.yellow.push_back(yellow[from_chained[v]]);
      set.blue.push_back(blue[from_chained[v]]);
    }
  }
  return set;
}

}  // namespace zel_wbgen
