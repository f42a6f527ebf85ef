// table_sets.h: the generated tables of one core, as the generator builds
// them before writing them out. Field names and layouts follow the runtime's
// KeyTables, ForwardTables and InverseTables (whitebox/runtime/wb_tables.h).
//
// Build time only; no constant-time requirement.
#ifndef ZEL_WHITEBOX_GENERATOR_TABLE_SETS_H
#define ZEL_WHITEBOX_GENERATOR_TABLE_SETS_H

#include <cstdint>
#include <vector>

#include "byte_bijection.h"
#include "core_encodings.h"

namespace zel_wbgen {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint32_t>;

struct KeyTableSet {
  Bytes unprotect_128, unprotect_256, xor_, sbox, rcon;
};

struct ForwardTableSet {
  Bytes input_xor, entry_index, reencode, mix_xor[3], key_xor, last_sbox,
      last_key_xor;
  Words sbox_mix;
};

struct InverseTableSet {
  Bytes cipher_key_xor, inv_sbox, key_xor, mix_xor[3], entry_index, reencode,
      yellow_xor, blue_xor;
  Words sbox_mix;
};

// build_key_tables: |key_form| is the core's KE; |protect_128| and
// |protect_256| are the protection maps of the key form (key_protection.h).
KeyTableSet build_key_tables(const ByteMap& key_form,
                             const std::vector<ByteMap>& protect_128,
                             const std::vector<ByteMap>& protect_256);

// build_forward_tables: |input_form| is the form of the direction's input
// bytes (white for the encryptor core, blue for the decryptor's).
ForwardTableSet build_forward_tables(const DirectionEncodings& enc,
                                     const ByteMap& input_form,
                                     const ByteMap& key_form);

InverseTableSet build_inverse_tables(const DirectionEncodings& enc,
                                     const ByteMap& key_form,
                                     const ByteMap& yellow,
                                     const ByteMap& blue);

// Helpers shared by the two directions.
Bytes build_mix_xor(const DirectionEncodings& enc, unsigned which);
Bytes build_layer_maps(const DirectionEncodings& enc, const ByteMap& source,
                       unsigned first_layer);
Bytes build_reencode(const DirectionEncodings& enc);
Words build_sbox_mix(const DirectionEncodings& enc,
                     const uint8_t coefficients[4], bool apply_sbox);

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_TABLE_SETS_H
