// forward_tables.cpp: the tables of an encryption direction.
#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {

ForwardTableSet build_forward_tables(const DirectionEncodings& enc,
                                     const ByteMap& input_form,
                                     const ByteMap& key_form) {
  const ByteMap from_input = inverse_of(input_form);
  const ByteMap from_entry = inverse_of(enc.entry);
  const ByteMap from_key = inverse_of(key_form);
  const ByteMap from_sbox_out = inverse_of(enc.sbox_out);
  const ByteMap from_sbox_in = inverse_of(enc.sbox_in);
  ForwardTableSet set;
  set.input_xor.resize(256 * 256);
  set.key_xor.resize(256 * 256);
  set.last_key_xor.resize(256 * 256);
  set.last_sbox.resize(256);
  for (unsigned a = 0; a < 256; ++a) {
    set.last_sbox[a] = enc.sbox_out[zel_ref::aes_sbox(from_sbox_in[a])];
    for (unsigned b = 0; b < 256; ++b) {
      set.input_xor[a * 256 + b] = enc.entry[from_input[a] ^ b];
      set.key_xor[a * 256 + b] = enc.sbox_in[from_entry[b] ^ from_key[a]];
      set.last_key_xor[a * 256 + b] =
          static_cast<uint8_t>(from_sbox_out[b] ^ from_key[a]);
    }
  }
  set.entry_index = build_layer_maps(enc, enc.entry, 0);
  set.reencode = build_reencode(enc);
  for (unsigned t = 0; t < 3; ++t) set.mix_xor[t] = build_mix_xor(enc, t);
  set.sbox_mix = build_sbox_mix(enc, kMixCoefficients, true);
  return set;
}

}  // namespace zel_wbgen
