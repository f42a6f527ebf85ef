// forward_engine.cpp: see forward_engine.h.
#include "forward_engine.h"

#include <cstring>

#include "aes_reference.h"
#include "column_mix.h"
#include "wb_trace.h"

namespace zel_whitebox {

void build_forward_tables(const ForwardTables& tables, const RoundKeys& keys,
                          unsigned rounds, KeyedTables& keyed) {
  // Layers an earlier AES-256 key left behind go too. A plain memset is
  // enough: the working block is read again, so the store stays.
  std::memset(keyed.mix[rounds - 1], 0,
              sizeof keyed.mix - sizeof keyed.mix[0] * (rounds - 1));
  for (unsigned l = 0; l + 1 < rounds; ++l)
    for (unsigned i = 0; i < 16; ++i) {
      const uint8_t* key_xor = tables.key_xor + keys.bytes[16 * l + i] * 256;
      const uint8_t* index = tables.entry_index + (l * 16 + i) * 256;
      const uint32_t* sbox_mix = tables.sbox_mix + (l * 16 + i) * 256;
      uint32_t* out = keyed.mix[l][i];
      for (unsigned u = 0; u < 256; ++u) out[index[u]] = sbox_mix[key_xor[u]];
    }
  const unsigned l = rounds - 1;
  for (unsigned i = 0; i < 16; ++i) {
    const uint8_t* key_xor = tables.key_xor + keys.bytes[16 * l + i] * 256;
    const uint8_t* last_key_xor =
        tables.last_key_xor + keys.bytes[16 * rounds + forward_dest(i)] * 256;
    const uint8_t* index = tables.entry_index + (l * 16 + i) * 256;
    uint8_t* out = keyed.last[i];
    for (unsigned u = 0; u < 256; ++u)
      out[index[u]] = last_key_xor[tables.last_sbox[key_xor[u]]];
  }
}

namespace {

// Scratch holds one block's encoded state and terms; forward_cbc wipes it
// once after the last block.
struct Scratch {
  uint8_t state[16];
  uint32_t terms[16];
};

void encrypt_block(const ForwardTables& tables, const KeyedTables& keyed,
                   unsigned rounds, const uint8_t* in, uint8_t chain[16],
                   Scratch& scratch) {
  uint8_t* state = scratch.state;
  uint32_t* terms = scratch.terms;
  for (unsigned i = 0; i < 16; ++i) {
    const unsigned entry =
        ZEL_WB_TRACE(0u, tables.input_xor[in[i] * 256 + chain[i]]);
    state[i] = ZEL_WB_TRACE(0u, tables.entry_index[i * 256 + entry]);
  }
  for (unsigned l = 0; l + 1 < rounds; ++l) {
    for (unsigned i = 0; i < 16; ++i)
      terms[i] = ZEL_WB_TRACE(l, keyed.mix[l][i][state[i]]);
    mix_columns_encoded<forward_source>(terms, tables.mix_xor,
                                        tables.reencode + l * 16 * 256, l,
                                        state);
  }
  for (unsigned i = 0; i < 16; ++i)
    chain[forward_dest(i)] =
        ZEL_WB_TRACE(rounds - 1, keyed.last[i][state[i]]);
}

}  // namespace

void forward_cbc(const ForwardTables& tables, const KeyedTables& keyed,
                 unsigned rounds, uint8_t chain[16],
                 const zel_wb::WbCbcParams& params) {
  Scratch scratch;
  for (uint32_t offset = 0; offset < params.size; offset += 16) {
    encrypt_block(tables, keyed, rounds, params.in + offset, chain, scratch);
    for (unsigned i = 0; i < 16; ++i) params.out[offset + i] = chain[i];
  }
  zel_ref::secure_wipe(&scratch, sizeof scratch);
}

}  // namespace zel_whitebox
