// forward_engine.h: AES encryption in CBC mode on encoded bytes, three
// independently encoded copies per block merged by a bitwise majority;
// shared by the encryptor core (white input) and the decryptor core (blue
// input, which is the same form).
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

// build_forward_tables writes the keyed tables of all copies of an AES
// with |rounds| rounds (10 or 14) from its key-form round keys.
void build_forward_tables(const RoundKeys& keys, unsigned rounds,
                          KeyedCopies& keyed);

// forward_cbc encrypts params.size bytes of white plaintext, chaining from
// |chain| (the previous ciphertext block, plain) and leaving the last
// ciphertext block there. |in| and |out| may be equal.
void forward_cbc(KeyedCopies& keyed, unsigned rounds, uint8_t chain[16],
                 const zel_wb::WbCbcParams& params);

}  // namespace zel_whitebox

#endif  // ZEL_WHITEBOX_RUNTIME_FORWARD_ENGINE_H
