// inverse_tables.cpp: the tables of the decryption direction.
#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {

InverseTableSet build_inverse_tables(const DirectionEncodings& enc,
                                     const ByteMap& key_form,
                                     const ByteMap& yellow,
                                     const ByteMap& blue) {
  const ByteMap from_entry = inverse_of(enc.entry);
  const ByteMap from_key = inverse_of(key_form);
  const ByteMap from_sbox_out = inverse_of(enc.sbox_out);
  const ByteMap from_sbox_in = inverse_of(enc.sbox_in);
  InverseTableSet set;
  set.cipher_key_xor.resize(256 * 256);
  set.key_xor.resize(256 * 256);
  set.yellow_xor.resize(256 * 256);
  set.blue_xor.resize(256 * 256);
  set.inv_sbox.resize(256);
  for (unsigned a = 0; a < 256; ++a) {
    set.inv_sbox[a] = enc.sbox_out[zel_ref::aes_inv_sbox(from_entry[a])];
    for (unsigned b = 0; b < 256; ++b) {
      set.cipher_key_xor[a * 256 + b] = enc.entry[b ^ from_key[a]];
      set.key_xor[a * 256 + b] = enc.sbox_in[from_sbox_out[b] ^ from_key[a]];
      set.yellow_xor[a * 256 + b] = yellow[from_sbox_in[a] ^ b];
      set.blue_xor[a * 256 + b] = blue[from_sbox_in[a] ^ b];
    }
  }
  // Layer 0 reads the ciphertext itself: maps start at layer 1.
  set.entry_index = build_layer_maps(enc, enc.entry, 1);
  set.reencode = build_reencode(enc);
  for (unsigned t = 0; t < 3; ++t) set.mix_xor[t] = build_mix_xor(enc, t);
  set.sbox_mix = build_sbox_mix(enc, kInvMixCoefficients, false);
  return set;
}

}  // namespace zel_wbgen
