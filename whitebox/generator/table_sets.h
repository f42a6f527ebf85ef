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
// build_copy_tables builds the tables of one copy of either direction
// (DirectionEncodings::inverse tells which) on the copy's schedule forms
// |word_forms|.
CopyTableSet build_copy_tables(const DirectionEncodings& enc,
                               const std::vector<ByteMap>& word_forms);
// nibble_xor_table: inputs in forms |a| and |b|, output in form |out|, all
// nibble encodings (the identity for a plain input).
Bytes nibble_xor_table(const ByteMap& a, const ByteMap& b, const ByteMap& out);
// build_vote: [i][half][three copies' nibbles] -> result[i] of their
// bitwise majority (|result| the identity for plain output), two 4-bit
// entries per byte, the even one in the low nibble.
Bytes build_vote(const Copies& enc, const std::array<ByteMap, 16>& result);
ByteMap identity_map();

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_TABLE_SETS_H
