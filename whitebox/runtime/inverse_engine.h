// inverse_engine.h: AES decryption in CBC mode into an encoded plaintext
// form (the decryptor core's yellow or blue form).
//
// Constant time: as forward_engine.h; the first layer is indexed by the
// public ciphertext, the rest by encoded state bytes.
#ifndef ZEL_WHITEBOX_RUNTIME_INVERSE_ENGINE_H
#define ZEL_WHITEBOX_RUNTIME_INVERSE_ENGINE_H

#include <cstdint>

#include "keyed_tables.h"
#include "wb_core.h"
#include "wb_tables.h"

namespace zel_whitebox {

void build_inverse_tables(const InverseTables& tables, const RoundKeys& keys,
                          unsigned rounds, KeyedTables& keyed);

// inverse_cbc decrypts params.size bytes; |output_xor| is the table that
// XORs the decrypted block with the previous ciphertext block into the
// output form (InverseTables::yellow_xor or blue_xor). |chain| is the
// previous ciphertext block and ends at the last one read.
void inverse_cbc(const InverseTables& tables, const KeyedTables& keyed,
                 unsigned rounds, const uint8_t* output_xor,
                 uint8_t chain[16], const zel_wb::WbCbcParams& params);

}  // namespace zel_whitebox

#endif  // ZEL_WHITEBOX_RUNTIME_INVERSE_ENGINE_H
