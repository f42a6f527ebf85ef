// table_sets.h: the generated tables, as the generator builds them before
// writing them out. Field names and layouts follow the runtime's
// KeyTables, CopyTables, ForwardTables and InverseTables
// (whitebox/runtime/wb_tables.h), whose size constants they use.
//
// Build time only; no constant-time requirement.
#ifndef ZEL_WHITEBOX_GENERATOR_TABLE_SETS_H
#define ZEL_WHITEBOX_GENERATOR_TABLE_SETS_H

#include <array>
#include <cstdint>
#include <vector>

#include "byte_bijection.h"
#include "core_encodings.h"

namespace zel_wbgen {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint32_t>;

struct KeyScheduleSet {
  Bytes unprotect, sub_word, xor_;
};

// ScheduleForms: per copy, the forms KW[n][b] of the expanded key bytes, at
// 4n + b (60 words: AES-128 uses the first 44), which the copy's key
// schedules output and its key XOR tables take as their first input.
using ScheduleForms = std::array<std::vector<ByteMap>, kCopies>;

struct CopyTableSet {
  Bytes entry_index, reencode, mix_xor[3], sbox_step, key_xor, out_form;
  Words sbox_mix;
};

struct ForwardTableSet {
  Bytes input_xor;
  CopyTableSet copy[kCopies];
  Bytes vote;
};

struct InverseTableSet {
  CopyTableSet copy[kCopies];
  Bytes vote, chain_xor, yellow, blue;
};

using Copies = std::array<DirectionEncodings, kCopies>;

// build_key_schedule builds the schedule tables of one key size for one
// copy: |protect| are the protection maps of that key size
// (key_protection.h), |word_forms| the copy's forms KW; the SubWord output
// forms are drawn from |stream|.
KeyScheduleSet build_key_schedule(ChaCha20Stream& stream,
                                  const std::vector<ByteMap>& protect,
                                  const std::vector<ByteMap>& word_forms);

// build_forward_tables: |white| is the form of the direction's input bytes
// (the encryptor's white, which is also the decryptor's blue). All copies
// share the entry form U of copy 0.
ForwardTableSet build_forward_tables(const Copies& enc, const ByteMap& white,
                                     const ScheduleForms& key_forms);

// build_inverse_tables: |voted| are the forms M[i] of the voted nibbles,
// |chained| the forms Y[i] after the CBC XOR.
InverseTableSet build_inverse_tables(const Copies& enc,
                                     const ScheduleForms& key_forms,
                                     const std::array<ByteMap, 16>& voted,
                                     const std::array<ByteMap, 16>& chained,
                                     const ByteMap& yellow,
                                     const ByteMap& blue);

// Helpers shared by the two directions.
Bytes build_mix_xor(const DirectionEncodings& enc, unsigned which);
Bytes build_layer_maps(const DirectionEncodings& enc, const ByteMap& source,
                       unsigned first_layer);
Bytes build_reencode(const DirectionEncodings& enc);
Words build_sbox_mix(const DirectionEncodings& enc,
                     const uint8_t coefficients[4], bool apply_sbox);
// nibble_xor_table: inputs in forms |a| and |b|, output in form |out|, all
// nibble encodings (the identity for a plain input).
Bytes nibble_xor_table(const ByteMap& a, const ByteMap& b, const ByteMap& out);
// KeyByteUse gives the second input and the output form of the key XOR
// table of expanded key byte |index| (RoundKeys order) of a core with
// |rounds| rounds; build_key_xor builds a copy's key XOR tables in the
// runtime's order (one per AES-256 key byte, then AES-128 round key 10).
struct KeyByteUse {
  const ByteMap* second;
  const ByteMap* out;
};
using KeyUse = KeyByteUse (*)(const DirectionEncodings& enc, unsigned rounds,
                              unsigned index);
Bytes build_key_xor(const DirectionEncodings& enc,
                    const std::vector<ByteMap>& word_forms, KeyUse use);
// build_out_forms: [i][N(v)] -> N[i](v).
Bytes build_out_forms(const DirectionEncodings& enc);
// build_vote: [i][half][three copies' nibbles] -> result[i] of their
// bitwise majority (|result| the identity for plain output), two 4-bit
// entries per byte, the even one in the low nibble.
Bytes build_vote(const Copies& enc, const std::array<ByteMap, 16>& result);
ByteMap identity_map();

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_TABLE_SETS_H
