// forward_engine.h: AES encryption in CBC mode on encoded bytes, shared by
// the encryptor core (white input) and the decryptor core (blue input);
// the ForwardTables passed in decide which.
//
// Constant time: branches and loops depend only on sizes and the round
// count; look-ups are indexed by encoded state bytes and by the public
// chaining value, so cache timing follows the encoded data.
#ifndef ZEL_WHITEBOX_RUNTIME_FORWARD_ENGINE_H
#define ZEL_WHITEBOX_RUNTIME_FORWARD_ENGINE_H

#include <cstdint>

#include "keyed_tables.h"
#include "wb_core.h"
#include "wb_tables.h"

namespace zel_whitebox {

// build_forward_tables writes the keyed tables of an AES with |rounds|
// rounds (10 or 14) from its key-form round keys.
void build_forward_tables(const ForwardTables& tables, const RoundKeys& keys,
                          unsigned rounds, KeyedTables& keyed);

// forward_cbc encrypts params.size bytes of input-form plaintext, chaining
// from |chain| (the previous ciphertext block, plain) and leaving the last
// ciphertext block there.
void forward_cbc(const ForwardTables& tables, const KeyedTables& keyed,
                 unsigned rounds, uint8_t chain[16],
                 const zel_wb::WbCbcParams& params);

}  // namespace zel_whitebox

#endif  // ZEL_WHITEBOX_RUNTIME_FORWARD_ENGINE_H
