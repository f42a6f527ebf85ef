// column_mix.h: the encoded sum of MixColumns (or InvMixColumns) terms,
// and the run of one copy's keyed layers, shared by both directions.
//
// Each layer look-up yields, per state byte, four encoded terms packed in a
// word (byte m for row m). Output byte (m, c) is the XOR of the terms of
// the four bytes that (Inv)ShiftRows brings to column c, which three 64 KiB
// tables compute on the encoded terms, and is then re-encoded into the
// next layer's form for its position.
#ifndef ZEL_WHITEBOX_RUNTIME_COLUMN_MIX_H
#define ZEL_WHITEBOX_RUNTIME_COLUMN_MIX_H

#include <cstdint>

#include "keyed_tables.h"
#include "wb_trace.h"

namespace zel_whitebox {

// mix_columns_encoded: |terms| are the 16 packed words of one layer,
// |source(row, col)| gives the byte that lands on (row, col); the result is
// written into |state| in the forms of |reencode| (16 maps of 256).
template <unsigned (*source)(unsigned, unsigned)>
inline void mix_columns_encoded(const uint32_t terms[16],
                                const uint8_t* const mix_xor[3],
                                const uint8_t* reencode, unsigned layer,
                                uint8_t state[16]) {
  const uint8_t* xor_a = mix_xor[0];
  const uint8_t* xor_b = mix_xor[1];
  const uint8_t* xor_r = mix_xor[2];
  // Unrolled: with the loops open the compiler keeps the terms in
  // registers and interleaves the independent look-ups (about 30% faster).
#pragma GCC unroll 4
  for (unsigned col = 0; col < 4; ++col) {
    const uint32_t w0 = terms[source(0, col)];
    const uint32_t w1 = terms[source(1, col)];
    const uint32_t w2 = terms[source(2, col)];
    const uint32_t w3 = terms[source(3, col)];
    const uint32_t slot[4] = {w0, w1, w2, w3};
#pragma GCC unroll 4
    for (unsigned m = 0; m < 4; ++m) {
      // Row m takes term d from the byte of row (m + d) mod 4.
      const unsigned shift = 8 * m;
      const unsigned g0 = (slot[m] >> shift) & 0xff;
      const unsigned g1 = (slot[(m + 1) & 3] >> shift) & 0xff;
      const unsigned g2 = (slot[(m + 2) & 3] >> shift) & 0xff;
      const unsigned g3 = (slot[(m + 3) & 3] >> shift) & 0xff;
      const unsigned a = ZEL_WB_TRACE(layer, xor_a[g0 << 8 | g1]);
      const unsigned b = ZEL_WB_TRACE(layer, xor_b[g2 << 8 | g3]);
      const unsigned r = ZEL_WB_TRACE(layer, xor_r[a << 8 | b]);
      const unsigned pos = m + 4 * col;
      state[pos] = ZEL_WB_TRACE(layer, reencode[pos * 256 + r]);
    }
  }
}

// run_copy computes one copy of a block whose layer-0 state bytes are in
// work.state (forward: in the forms E[0][i]; inverse: the ciphertext) and
// leaves the copy's output in work.out (forms N[i]). |source| and |dest| are
// the direction's (Inv)ShiftRows positions.
template <unsigned (*source)(unsigned, unsigned), unsigned (*dest)(unsigned)>
inline void run_copy(const CopyTables& tables, unsigned rounds,
                     CopyWork& work) {
  uint8_t* state = work.state;
  uint32_t* terms = work.terms;
  for (unsigned l = 0; l + 1 < rounds; ++l) {
    for (unsigned i = 0; i < 16; ++i)
      terms[i] = ZEL_WB_TRACE(l, work.mix[l][i][state[i]]);
    mix_columns_encoded<source>(terms, tables.mix_xor,
                                tables.reencode + l * 16 * 256, l, state);
  }
  for (unsigned i = 0; i < 16; ++i)
    work.out[dest(i)] = ZEL_WB_TRACE(rounds - 1, work.last[i][state[i]]);
}

}  // namespace zel_whitebox

#endif  // ZEL_WHITEBOX_RUNTIME_COLUMN_MIX_H
