// wb_tables.h: the layout of the white-box core's fixed material, shared by
// the generator (which writes the tables against these declarations) and
// the runtime (which reads them).
//
// Names of the encodings used below (all secret bijections, drawn per
// build from the seed; "nibble form" means two independent 4-bit
// bijections, one per half of the byte, so that values in that form can go
// through 4+4 -> 4 bit XOR tables):
//   KW, T     the forms of the key schedule's bytes: one per copy, word
//             and byte position (KeySchedule below), so every round-key
//             byte has a form of its own per round and position, up to and
//             into the look-ups that materialise the keyed tables;
//   U         the entry form of a direction (nibble form): (input byte ^
//             chaining byte) going in, and the index form of the look-ups
//             that a key setup materialises;
//   E[l][i]   the state form of layer l, byte position i, per copy;
//   G[d], A, B, R  the forms of MixColumns terms and column sums, per
//             copy; each term also carries a secret mask of its layer,
//             position and row;
//   H, Q      forms (nibble form) used only while a key setup builds the
//             keyed tables: S-box input and S-box output, per copy;
//   N, N[i]   the output form of a copy (nibble form), and per output
//             position i;
//   M[i], Y[i]  the decryptor's forms of the voted output nibbles and of
//             the output after the CBC XOR, per position.
// A "layer" is one round of table look-ups: layer 0 is the first AES round.
//
// Every block is computed three times ("copies"), each copy with its own
// encodings, its own tables and its own region of the working block; a
// bitwise majority per output nibble merges them (vote tables), so a fault
// in any one copy is corrected.
//
// Tables of 64 KiB are indexed [first * 256 + second]. Nibble XOR tables
// are 256 bytes that hold two 16 x 16 tables, one per nibble: entry
// [a_hi << 4 | b_hi] gives the high nibble of the result in its high half,
// entry [a_lo << 4 | b_lo] the low nibble in its low half (see nibble_xor
// in keyed_tables.h).
#ifndef ZEL_WHITEBOX_RUNTIME_WB_TABLES_H
#define ZEL_WHITEBOX_RUNTIME_WB_TABLES_H

#include <cstdint>

// ZEL_WB_TABLE places a generated array, in the traced build of the core
// that only the audit tool links, in the ELF section zel_wb_tables, so that
// the audit finds all generated tables between __start_zel_wb_tables and
// __stop_zel_wb_tables. In the library the tables are ordinary read-only
// data: no section, symbol or name marks where they are.
#ifdef ZEL_WB_TRACE_HOOK
#define ZEL_WB_TABLE __attribute__((section("zel_wb_tables")))
#else
#define ZEL_WB_TABLE
#endif

namespace zel_whitebox {

constexpr unsigned kMaxRounds = 14;  // AES-256
constexpr unsigned kLayers = kMaxRounds;
constexpr unsigned kCopies = 3;

// Sizes of the generated arrays; the generated source static-asserts each
// array against these, so a layout change that the generator does not
// follow does not compile.
constexpr unsigned kXorTableSize = 256 * 256;
constexpr unsigned kNibbleXorSize = 256;
constexpr unsigned kPositionMapsSize = 16 * 256;
constexpr unsigned kForwardIndexSize = kLayers * kPositionMapsSize;
constexpr unsigned kInverseIndexSize = (kLayers - 1) * kPositionMapsSize;
constexpr unsigned kReencodeSize = (kLayers - 1) * kPositionMapsSize;
constexpr unsigned kSboxMixSize = (kLayers - 1) * kPositionMapsSize;  // words
constexpr unsigned kVoteSize = 16 * 2 * 4096 / 2;  // 4-bit entries, packed
constexpr unsigned kChainXorSize = 16 * kNibbleXorSize;
constexpr unsigned kWords128 = 44, kWords256 = 60;  // key schedule words
constexpr unsigned kSubWords128 = 10, kSubWords256 = 13;  // SubWord steps
// Key XOR tables of a copy (CopyTables::key_xor): one per AES-256 round-key
// byte, which AES-128 round keys 0 to 9 share, and 16 for AES-128 round key
// 10, whose use differs.
constexpr unsigned kAes128LastKey = 16 * 10;
constexpr unsigned kKeyXorTables = kWords256 * 4 + 16;
constexpr unsigned kKeyXorSize = kKeyXorTables * kNibbleXorSize;

// KeySchedule runs one key size's AES key expansion on encoded bytes, for
// one copy. Byte b of key word n (4 * (rounds + 1) words) is held in
// KW[n][b], a nibble encoding of its own for every copy, word and byte
// (both key sizes share the forms of words 0 to 43), so no XOR table has
// the same encoding on two of its sides. SubWord steps (with RotWord and
// the round constant folded in) give T[step][b], again one form each. At
// the end the expanded bytes stay in their forms KW[n][b]: the look-ups
// that materialise the keyed tables take each round-key byte in its own
// form (CopyTables::key_xor).
struct KeySchedule {
  const uint8_t* unprotect;  // [j][protected byte] -> KW[j / 4][j % 4](k)
  const uint8_t* sub_word;   // [step][b][KW[n-1][source](x)]
                             //   -> T[step][b](S(x) ^ round constant)
  const uint8_t* xor_;       // [n - nk][b]: nibble XOR of KW[n-nk][b] and
                             //   T[step][b] or KW[n-1][b] -> KW[n][b]
};

// KeyTables: the key schedules of both key sizes, of one copy. Each copy
// expands the key on its own tables, so a fault in one schedule table
// misbuilds one copy only, and the vote corrects it.
struct KeyTables {
  KeySchedule aes128, aes256;
};

// CopyTables: one copy of a direction.
struct CopyTables {
  const uint8_t* entry_index;     // forward [layer][i][U(x)], inverse
                                  //   [layer-1][i][U(x)] -> E[layer][i](x)
  const uint8_t* reencode;        // [layer][i][R(x)] -> E[layer+1][i](x)
  const uint8_t* mix_xor[3];      // [G0][G1] -> A, [G2][G3] -> B, [A][B] -> R
  const uint32_t* sbox_mix;       // [layer][i][H(y)] -> 4 x G((Inv)MixColumns
                                  //   term of S(y) (forward) or y (inverse)
                                  //   ^ the term's mask)
  const uint8_t* sbox_step;       // forward [H(y)] -> Q(S(y)); inverse
                                  //   [U(a)] -> Q(InvS(a))
  // key_xor: one nibble XOR table per expanded key byte (kKeyXorTables,
  // see key_xor_table in keyed_tables.h), whose first input is that byte's
  // own form KW[n][b] of this copy. Its second input and output follow the
  // byte's one use in the direction: forward, round keys 0 to rounds - 1:
  // U(x) -> H(x ^ k), the last round key: Q(s) -> N(s ^ k); inverse, the
  // last round key: plain c -> U(c ^ k), round key 0: Q(s) -> N(s ^ k), the
  // others: Q(x) -> H(x ^ k).
  const uint8_t* key_xor;
  const uint8_t* out_form;        // [i][N(v)] -> N[i](v)
};

// ForwardTables: the encryption direction (the encryptor core; the
// decryptor core's re-encryption of its blue form, which is the
// encryptor's white form, uses the same tables).
struct ForwardTables {
  const uint8_t* input_xor;  // nibble XOR: white(p), plain c -> U(p ^ c)
                             //   (white is a nibble form: it is public, the
                             //   input encoding of the wrappers)
  CopyTables copy[kCopies];
  const uint8_t* vote;       // [i][half][N0[i] | N1[i] | N2[i] nibbles]
                             //   -> plain ciphertext nibble (majority);
                             //   entry n in byte n / 2, low nibble first
};

// InverseTables: the decryptor core's decryption direction.
struct InverseTables {
  CopyTables copy[kCopies];
  const uint8_t* vote;       // [i][half][...] -> M[i](majority nibble)
  const uint8_t* chain_xor;  // [i] nibble XOR: M[i](x), plain c -> Y[i](x ^ c)
  const uint8_t* yellow;     // [i][Y[i](v)] -> yellow(v)
  const uint8_t* blue;       // [i][Y[i](v)] -> blue(v) = white(v)
};

// The generated material.
extern const KeyTables key_tables[kCopies];
extern const ForwardTables forward_tables;
extern const InverseTables inverse_tables;

}  // namespace zel_whitebox

namespace zel_wb {
// wb_generated_table_bytes is the size of all generated static tables of
// both cores (both key sizes share them), for size reports. Not exported.
extern const uint32_t wb_generated_table_bytes;
}  // namespace zel_wb

#endif  // ZEL_WHITEBOX_RUNTIME_WB_TABLES_H
