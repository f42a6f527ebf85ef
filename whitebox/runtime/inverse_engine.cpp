// inverse_engine.cpp: see inverse_engine.h.
#include "inverse_engine.h"

#include <cstring>

#include "column_mix.h"
#include "wb_trace.h"
#include "wiped_buffer.h"

namespace zel_whitebox {
namespace {

// Layer l undoes AES round rounds - l: its look-up adds round key
// rounds - 1 - l after the inverse S-box; layer 0 also adds the last round
// key to the ciphertext byte it is indexed by.
void build_copy(const CopyTables& tables, const uint8_t* keys,
                unsigned rounds, CopyWork& out) {
  std::memset(out.mix[rounds - 1], 0,
              sizeof out.mix - sizeof out.mix[0] * (rounds - 1));
  for (unsigned i = 0; i < 16; ++i) {
    const unsigned k = keys[16 * rounds + i];
    const uint8_t* first_key_xor =
        key_xor_table(tables, rounds, 16 * rounds + i);
    const unsigned next = 16 * (rounds - 1) + inverse_dest(i);
    const unsigned next_k = keys[next];
    const uint8_t* key_xor = key_xor_table(tables, rounds, next);
    const uint32_t* sbox_mix = tables.sbox_mix + i * 256;
    uint32_t* mix = out.mix[0][i];
    for (unsigned c = 0; c < 256; ++c) {
      const uint8_t s = tables.sbox_step[nibble_xor(first_key_xor, k, c)];
      mix[c] = sbox_mix[nibble_xor(key_xor, next_k, s)];
    }
  }
  for (unsigned l = 1; l < rounds; ++l)
    for (unsigned i = 0; i < 16; ++i) {
      const unsigned dest = inverse_dest(i);
      const unsigned key_index = 16 * (rounds - 1 - l) + dest;
      const unsigned k = keys[key_index];
      const uint8_t* key_xor = key_xor_table(tables, rounds, key_index);
      const uint8_t* index = tables.entry_index + ((l - 1) * 16 + i) * 256;
      if (l + 1 < rounds) {
        const uint32_t* sbox_mix = tables.sbox_mix + (l * 16 + i) * 256;
        uint32_t* mix = out.mix[l][i];
        for (unsigned u = 0; u < 256; ++u)
          mix[index[u]] =
              sbox_mix[nibble_xor(key_xor, k, tables.sbox_step[u])];
      } else {
        const uint8_t* out_form = tables.out_form + dest * 256;
        uint8_t* last = out.last[i];
        for (unsigned u = 0; u < 256; ++u)
          last[index[u]] =
              out_form[nibble_xor(key_xor, k, tables.sbox_step[u])];
      }
    }
}

}  // namespace

void build_inverse_tables(const RoundKeys& keys, unsigned rounds,
                          KeyedCopies& keyed) {
  for (unsigned c = 0; c < kCopies; ++c)
    build_copy(inverse_tables.copy[c], keys.bytes[c], rounds, keyed.copy[c]);
}

void inverse_cbc(KeyedCopies& keyed, unsigned rounds,
                 const uint8_t* final_form, uint8_t chain[16],
                 const zel_wb::WbCbcParams& params) {
  const InverseTables& tables = inverse_tables;
  uint8_t cipher[16];  // public; copied so that |in| may equal |out|
  for (uint32_t offset = 0; offset < params.size; offset += 16) {
    std::memcpy(cipher, params.in + offset, 16);
    for (unsigned c = 0; c < kCopies; ++c) {
      // Layer 0 is indexed by the ciphertext itself.
      std::memcpy(keyed.copy[c].state, cipher, 16);
      run_copy<inverse_source, inverse_dest>(tables.copy[c], rounds,
                                             keyed.copy[c]);
    }
    for (unsigned i = 0; i < 16; ++i) {
      const unsigned voted = vote_byte(tables.vote, keyed, i, rounds);
      const uint8_t* chain_xor = tables.chain_xor + i * kNibbleXorSize;
      const unsigned hi = ZEL_WB_TRACE(
          rounds, chain_xor[(voted & 0xf0) | (chain[i] >> 4)]) & 0xf0;
      const unsigned lo = ZEL_WB_TRACE(
          rounds, chain_xor[(voted & 15) << 4 | (chain[i] & 15)]) & 15;
      params.out[offset + i] =
          ZEL_WB_TRACE(rounds, final_form[i * 256 + (hi | lo)]);
    }
    std::memcpy(chain, cipher, 16);
  }
  for (CopyWork& copy : keyed.copy) {
    zel_wb::wipe(copy.terms, sizeof copy.terms);
    zel_wb::wipe(copy.state, sizeof copy.state);
    zel_wb::wipe(copy.out, sizeof copy.out);
  }
}

}  // namespace zel_whitebox
