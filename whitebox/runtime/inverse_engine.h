// inverse_engine.h: AES decryption in CBC mode on encoded bytes for the
// decryptor core, three independently encoded copies per block merged by a
// bitwise majority; the last look-ups do the CBC XOR with the previous
// ciphertext block and give yellow or blue bytes.
//
// Constant time: as forward_engine.h.
#ifndef ZEL_WHITEBOX_RUNTIME_INVERSE_ENGINE_H
#define ZEL_WHITEBOX_RUNTIME_INVERSE_ENGINE_H

#include <cstdint>

#include "keyed_tables.h"
#include "wb_core.h"
#include "wb_tables.h"

namespace zel_whitebox {

void build_inverse_tables(const RoundKeys& keys, unsigned rounds,
                          KeyedCopies& keyed);

// inverse_cbc decrypts params.size bytes of ciphertext into the form that
// |final_form| gives (inverse_tables.yellow or .blue). |in| and |out| may
// be equal.
void inverse_cbc(KeyedCopies& keyed, unsigned rounds,
                 const uint8_t* final_form, uint8_t chain[16],
                 const zel_wb::WbCbcParams& params);

}  // namespace zel_whitebox

#endif  // ZEL_WHITEBOX_RUNTIME_INVERSE_ENGINE_H
