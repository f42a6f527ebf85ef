// keyed_tables.h: the key-specific tables a key setup writes into the
// working block, the per-block scratch of each copy, and the round-key
// buffer the tables are built from.
//
// KeyedCopies belongs to a working block (the wrapper allocates it; the
// core owns its content). Each copy has its own region: its keyed tables
// (mix[l][i] maps the encoded state byte i of layer l to the four encoded
// MixColumns terms it contributes; last[i] gives output byte i in the
// copy's output form N[i]) and its scratch. No table holds a raw key or
// round-key byte: every entry passes through a secret encoding of a value
// that also depends on the table index. The three copies use independent
// encodings, so no two regions hold the same bytes.
#ifndef ZEL_WHITEBOX_RUNTIME_KEYED_TABLES_H
#define ZEL_WHITEBOX_RUNTIME_KEYED_TABLES_H

#include <cstdint>

#include "wb_tables.h"
#include "wb_trace.h"

namespace zel_whitebox {

struct CopyWork {
  uint32_t mix[kMaxRounds - 1][16][256];
  uint8_t last[16][256];
  uint32_t terms[16];  // scratch of the block being computed
  uint8_t state[16];
  uint8_t out[16];  // the copy's output block, in the forms N[i]
};

struct KeyedCopies {
  CopyWork copy[kCopies];
  uint8_t entry[16];  // forward: U(input ^ chain) of the current block
};

// RoundKeys holds an expanded key once per copy, 16 bytes per round key,
// byte i of round key r at bytes[copy][16 * r + i] (byte i % 4 of key word
// 4r + i / 4), each in the copy's own schedule form KW[4r + i / 4][i % 4].
//
// WARNING: key material, though encoded; wiped after every key setup.
struct RoundKeys {
  uint8_t bytes[kCopies][16 * (kMaxRounds + 1)];
};

// nibble_xor looks up a nibble XOR table (wb_tables.h): |a| and |b| in the
// table's input forms, the result in its output form.
inline uint8_t nibble_xor(const uint8_t* table, unsigned a, unsigned b) {
  return static_cast<uint8_t>((table[(a & 0xf0) | (b >> 4)] & 0xf0) |
                              (table[(a & 15) << 4 | (b & 15)] & 15));
}

// key_xor_table is the nibble XOR table of expanded key byte |index|
// (RoundKeys order) of a core with |rounds| rounds.
inline const uint8_t* key_xor_table(const CopyTables& tables, unsigned rounds,
                                    unsigned index) {
  if (rounds == 10 && index >= kAes128LastKey)
    index += kWords256 * 4 - kAes128LastKey;
  return tables.key_xor + index * kNibbleXorSize;
}

// vote_byte merges output byte |pos| of the three copies: one vote table
// look-up per nibble; |layer| is the trace layer.
inline uint8_t vote_byte(const uint8_t* vote, const KeyedCopies& keyed,
                         unsigned pos, unsigned layer) {
  const unsigned a = keyed.copy[0].out[pos], b = keyed.copy[1].out[pos],
                 c = keyed.copy[2].out[pos];
  const uint8_t* table = vote + pos * 4096;
  const unsigned n_hi = (a >> 4) << 8 | (b >> 4) << 4 | (c >> 4);
  const unsigned n_lo = 4096 + ((a & 15) << 8 | (b & 15) << 4 | (c & 15));
  const unsigned hi = ZEL_WB_TRACE(layer, table[n_hi >> 1]) >> 4 * (n_hi & 1);
  const unsigned lo = ZEL_WB_TRACE(layer, table[n_lo >> 1]) >> 4 * (n_lo & 1);
  return static_cast<uint8_t>((hi & 15) << 4 | (lo & 15));
}

// The byte positions of ShiftRows (state byte r + 4c is row r, column c):
// forward_source(j, c) is the byte that ShiftRows moves to row j, column c;
// forward_dest(i) is where byte i goes. inverse_* are the same for
// InvShiftRows.
constexpr unsigned forward_source(unsigned row, unsigned col) {
  return row + 4 * ((col + row) & 3);
}
constexpr unsigned forward_dest(unsigned i) {
  return (i & 3) + 4 * (((i >> 2) - (i & 3)) & 3);
}
constexpr unsigned inverse_source(unsigned row, unsigned col) {
  return row + 4 * ((col - row) & 3);
}
constexpr unsigned inverse_dest(unsigned i) {
  return (i & 3) + 4 * (((i >> 2) + (i & 3)) & 3);
}

}  // namespace zel_whitebox

#endif  // ZEL_WHITEBOX_RUNTIME_KEYED_TABLES_H
