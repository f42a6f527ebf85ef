// forward_engine.cpp: see forward_engine.h.
#include "forward_engine.h"

#include <cstring>

#include "column_mix.h"
#include "wb_trace.h"
#include "wiped_buffer.h"

namespace zel_whitebox {
namespace {

void build_copy(const CopyTables& tables, const uint8_t* keys,
                unsigned rounds, CopyWork& out) {
  // Layers an earlier AES-256 key left behind go too. A plain memset is
  // enough: the working block is read again, so the store stays.
  std::memset(out.mix[rounds - 1], 0,
              sizeof out.mix - sizeof out.mix[0] * (rounds - 1));
  for (unsigned l = 0; l + 1 < rounds; ++l)
    for (unsigned i = 0; i < 16; ++i) {
      const unsigned k = keys[16 * l + i];
      const uint8_t* key_xor = key_xor_table(tables, rounds, 16 * l + i);
      const uint8_t* index = tables.entry_index + (l * 16 + i) * 256;
      const uint32_t* sbox_mix = tables.sbox_mix + (l * 16 + i) * 256;
      uint32_t* mix = out.mix[l][i];
      for (unsigned u = 0; u < 256; ++u)
        mix[index[u]] = sbox_mix[nibble_xor(key_xor, k, u)];
    }
  const unsigned l = rounds - 1;
  for (unsigned i = 0; i < 16; ++i) {
    const unsigned k = keys[16 * l + i];
    const uint8_t* key_xor = key_xor_table(tables, rounds, 16 * l + i);
    const unsigned dest = forward_dest(i);
    const unsigned last_k = keys[16 * rounds + dest];
    const uint8_t* last_key_xor =
        key_xor_table(tables, rounds, 16 * rounds + dest);
    const uint8_t* index = tables.entry_index + (l * 16 + i) * 256;
    const uint8_t* out_form = tables.out_form + dest * 256;
    uint8_t* last = out.last[i];
    for (unsigned u = 0; u < 256; ++u) {
      const uint8_t s = tables.sbox_step[nibble_xor(key_xor, k, u)];
      last[index[u]] = out_form[nibble_xor(last_key_xor, last_k, s)];
    }
  }
}

}  // namespace

void build_forward_tables(const RoundKeys& keys, unsigned rounds,
                          KeyedCopies& keyed) {
  for (unsigned c = 0; c < kCopies; ++c)
    build_copy(forward_tables.copy[c], keys.bytes[c], rounds, keyed.copy[c]);
}

void forward_cbc(KeyedCopies& keyed, unsigned rounds, uint8_t chain[16],
                 const zel_wb::WbCbcParams& params) {
  const ForwardTables& tables = forward_tables;
  for (uint32_t offset = 0; offset < params.size; offset += 16) {
    const uint8_t* in = params.in + offset;
    for (unsigned i = 0; i < 16; ++i)
      keyed.entry[i] =
          ZEL_WB_TRACE(0u, nibble_xor(tables.input_xor, in[i], chain[i]));
    for (unsigned c = 0; c < kCopies; ++c) {
      const CopyTables& copy = tables.copy[c];
      uint8_t* state = keyed.copy[c].state;
      for (unsigned i = 0; i < 16; ++i)
        state[i] = ZEL_WB_TRACE(0u, copy.entry_index[i * 256 + keyed.entry[i]]);
      run_copy<forward_source, forward_dest>(copy, rounds, keyed.copy[c]);
    }
    for (unsigned i = 0; i < 16; ++i)
      chain[i] = vote_byte(tables.vote, keyed, i, rounds);
    std::memcpy(params.out + offset, chain, 16);
  }
  zel_wb::wipe(keyed.entry, sizeof keyed.entry);
  for (CopyWork& copy : keyed.copy) {
    zel_wb::wipe(copy.terms, sizeof copy.terms);
    zel_wb::wipe(copy.state, sizeof copy.state);
    zel_wb::wipe(copy.out, sizeof copy.out);
  }
}

}  // namespace zel_whitebox
