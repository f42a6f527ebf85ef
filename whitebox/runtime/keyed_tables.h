// keyed_tables.h: the key-specific tables a key setup writes into the
// working block, and the round-key buffer it builds them from.
//
// KeyedTables belongs to a working block (the wrapper allocates it; the
// core owns its content). The tables are the key folded into encoded
// look-ups: mix[l][i] maps the encoded state byte i of layer l to the four
// encoded MixColumns terms it contributes; last[i] finishes the block. No
// table holds a raw key byte or round-key byte: every entry passes through
// a secret encoding of a value that also depends on the table index.
#ifndef ZEL_WHITEBOX_RUNTIME_KEYED_TABLES_H
#define ZEL_WHITEBOX_RUNTIME_KEYED_TABLES_H

#include <cstdint>

#include "wb_tables.h"

namespace zel_whitebox {

struct KeyedTables {
  uint32_t mix[kMaxRounds - 1][16][256];
  uint8_t last[16][256];
};

// RoundKeys holds an expanded key in the core's key form (KE), 16 bytes per
// round key, byte i of round key r at bytes[16 * r + i].
//
// WARNING: key material, though encoded; wiped after every key setup.
struct RoundKeys {
  uint8_t bytes[16 * (kMaxRounds + 1)];
};

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
