// inverse_engine.cpp: see inverse_engine.h.
#include "inverse_engine.h"

#include <cstring>

#include "aes_reference.h"
#include "column_mix.h"
#include "wb_trace.h"

namespace zel_whitebox {

void build_inverse_tables(const InverseTables& tables, const RoundKeys& keys,
                          unsigned rounds, KeyedTables& keyed) {
  // Layers an earlier AES-256 key left behind go too. A plain memset is
  // enough: the working block is read again, so the store stays.
  std::memset(keyed.mix[rounds - 1], 0,
              sizeof keyed.mix - sizeof keyed.mix[0] * (rounds - 1));
  // Layer l undoes AES round rounds - l: its look-up adds round key
  // rounds - 1 - l after the inverse S-box; layer 0 also adds the last
  // round key to the ciphertext byte it is indexed by.
  for (unsigned i = 0; i < 16; ++i) {
    const uint8_t* cipher_key_xor =
        tables.cipher_key_xor + keys.bytes[16 * rounds + i] * 256;
    const uint8_t* key_xor =
        tables.key_xor +
        keys.bytes[16 * (rounds - 1) + inverse_dest(i)] * 256;
    const uint32_t* sbox_mix = tables.sbox_mix + i * 256;
    uint32_t* out = keyed.mix[0][i];
    for (unsigned c = 0; c < 256; ++c)
      out[c] = sbox_mix[key_xor[tables.inv_sbox[cipher_key_xor[c]]]];
  }
  for (unsigned l = 1; l < rounds; ++l)
    for (unsigned i = 0; i < 16; ++i) {
      const uint8_t* key_xor =
          tables.key_xor +
          keys.bytes[16 * (rounds - 1 - l) + inverse_dest(i)] * 256;
      const uint8_t* index = tables.entry_index + ((l - 1) * 16 + i) * 256;
      if (l + 1 < rounds) {
        const uint32_t* sbox_mix = tables.sbox_mix + (l * 16 + i) * 256;
        uint32_t* out = keyed.mix[l][i];
        for (unsigned u = 0; u < 256; ++u)
          out[index[u]] = sbox_mix[key_xor[tables.inv_sbox[u]]];
      } else {
        uint8_t* out = keyed.last[i];
        for (unsigned u = 0; u < 256; ++u)
          out[index[u]] = key_xor[tables.inv_sbox[u]];
      }
    }
}

namespace {

struct Scratch {
  uint8_t state[16];
  uint8_t decrypted[16];
  uint32_t terms[16];
};

// decrypt_block leaves the decrypted block, before the CBC XOR, in the
// form H of the output XOR tables.
void decrypt_block(const InverseTables& tables, const KeyedTables& keyed,
                   unsigned rounds, const uint8_t cipher[16],
                   Scratch& scratch) {
  uint8_t* state = scratch.state;
  uint32_t* terms = scratch.terms;
  for (unsigned i = 0; i < 16; ++i)
    terms[i] = ZEL_WB_TRACE(0u, keyed.mix[0][i][cipher[i]]);
  mix_columns_encoded<inverse_source>(terms, tables.mix_xor, tables.reencode,
                                      0, state);
  for (unsigned l = 1; l + 1 < rounds; ++l) {
    for (unsigned i = 0; i < 16; ++i)
      terms[i] = ZEL_WB_TRACE(l, keyed.mix[l][i][state[i]]);
    mix_columns_encoded<inverse_source>(terms, tables.mix_xor,
                                        tables.reencode + l * 16 * 256, l,
                                        state);
  }
  for (unsigned i = 0; i < 16; ++i)
    scratch.decrypted[inverse_dest(i)] =
        ZEL_WB_TRACE(rounds - 1, keyed.last[i][state[i]]);
}

}  // namespace

void inverse_cbc(const InverseTables& tables, const KeyedTables& keyed,
                 unsigned rounds, const uint8_t* output_xor,
                 uint8_t chain[16], const zel_wb::WbCbcParams& params) {
  Scratch scratch;
  uint8_t cipher[16];  // public; copied so that |in| may equal |out|
  for (uint32_t offset = 0; offset < params.size; offset += 16) {
    std::memcpy(cipher, params.in + offset, 16);
    decrypt_block(tables, keyed, rounds, cipher, scratch);
    for (unsigned i = 0; i < 16; ++i)
      params.out[offset + i] = ZEL_WB_TRACE(
          rounds - 1, output_xor[scratch.decrypted[i] * 256 + chain[i]]);
    std::memcpy(chain, cipher, 16);
  }
  zel_ref::secure_wipe(&scratch, sizeof scratch);
}

}  // namespace zel_whitebox
