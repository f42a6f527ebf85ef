// wb_tables.h: the layout of the white-box core's fixed material, shared by
// the generator (which writes the tables) and the runtime (which reads
// them).
//
// Names of the byte encodings used below (all secret bijections of a byte,
// drawn per build from the seed):
//   KE      the key form of a core: every round-key byte in that core's key
//           schedule is held as KE(byte);
//   U       the entry form of a direction: (input byte ^ chaining byte);
//   E[l][i] the state form of layer l, byte position i (one per layer and
//           position);
//   G[d]    the form of a MixColumns term (coefficient d of the column);
//           each term also carries a secret mask of its layer, position
//           and row, so the values in the shared XOR tables differ by place;
//   A, B, R the forms of the partial and full column sums (with the XOR of
//           their terms' masks, which the re-encoding removes);
//   H, Q    forms used only while a key setup builds its keyed tables.
// A "layer" is one round of table look-ups: layer 0 is the first AES round.
//
// XOR tables of 64 KiB are indexed [first * 256 + second]. Key XOR tables
// are indexed [key byte in KE form * 256 + other], so that a key setup runs
// through them sequentially.
//
// The generated objects have hidden visibility (the library is built with
// -fvisibility=hidden); none is exported.
#ifndef ZEL_WHITEBOX_RUNTIME_WB_TABLES_H
#define ZEL_WHITEBOX_RUNTIME_WB_TABLES_H

#include <cstdint>

// ZEL_WB_TABLE places a generated array in the ELF section zel_wb_tables,
// so that a program linking the core finds all generated tables between
// __start_zel_wb_tables and __stop_zel_wb_tables (the audit tool does).
#define ZEL_WB_TABLE __attribute__((section("zel_wb_tables")))

namespace zel_whitebox {

constexpr unsigned kMaxRounds = 14;     // AES-256
constexpr unsigned kMaxLayers = kMaxRounds;
constexpr unsigned kXorTableSize = 256 * 256;
constexpr unsigned kLayerMapSize = 16 * 256;  // one map per byte position

// KeyTables turn the protected key form into the core's key form and run
// the AES key schedule on key-form bytes.
struct KeyTables {
  const uint8_t* unprotect_128;  // [16][256]: protected byte -> KE(key byte)
  const uint8_t* unprotect_256;  // [32][256]
  const uint8_t* xor_;           // [KE(a)][KE(b)] -> KE(a ^ b)
  const uint8_t* sbox;           // [KE(a)] -> KE(S(a))
  const uint8_t* rcon;           // [10]: KE(rcon of step 1..10)
};

// ForwardTables: one encryption direction (the encryptor core, or the
// decryptor core's encryption of its blue form).
struct ForwardTables {
  const uint8_t* input_xor;       // [in form(p)][chain c] -> U(p ^ c)
  const uint8_t* entry_index;     // [layer][i][U(x)] -> E[layer][i](x)
  const uint8_t* reencode;        // [layer-1][i][R(x)] -> E[layer][i](x)
  const uint8_t* mix_xor[3];      // [G0][G1] -> A, [G2][G3] -> B, [A][B] -> R
  const uint32_t* sbox_mix;       // [layer][i][H(y)] -> 4 x G(MixColumns
                                  //   term of S(y) ^ the term's mask)
  const uint8_t* key_xor;         // [KE(k)][U(x)] -> H(x ^ k)
  const uint8_t* last_sbox;       // [H(y)] -> Q(S(y))
  const uint8_t* last_key_xor;    // [KE(k)][Q(s)] -> s ^ k (ciphertext byte)
};

// InverseTables: the decryptor core's decryption direction.
struct InverseTables {
  const uint8_t* cipher_key_xor;  // [KE(k)][c] -> U(c ^ k)
  const uint8_t* inv_sbox;        // [U(a)] -> Q(InvS(a))
  const uint8_t* key_xor;         // [KE(k)][Q(s)] -> H(s ^ k)
  const uint32_t* sbox_mix;       // [layer][i][H(t)] -> 4 x G(InvMixColumns
                                  //   term of t ^ the term's mask)
  const uint8_t* mix_xor[3];      // as in ForwardTables
  const uint8_t* entry_index;     // [layer-1][i][U(x)] -> E[layer][i](x)
  const uint8_t* reencode;        // [layer-1][i][R(x)] -> E[layer][i](x)
  const uint8_t* yellow_xor;      // [H(x)][previous c] -> yellow(x ^ c)
  const uint8_t* blue_xor;        // [H(x)][previous c] -> blue(x ^ c)
};

// The generated material, one set per core.
extern const KeyTables enc_key_tables;
extern const ForwardTables enc_forward_tables;
extern const KeyTables dec_key_tables;
extern const ForwardTables dec_forward_tables;
extern const InverseTables dec_inverse_tables;

}  // namespace zel_whitebox

namespace zel_wb {
// wb_generated_table_bytes is the size of all generated static tables of
// both cores (both key sizes share them), for size reports. Not exported.
extern const uint32_t wb_generated_table_bytes;
}  // namespace zel_wb

#endif  // ZEL_WHITEBOX_RUNTIME_WB_TABLES_H
