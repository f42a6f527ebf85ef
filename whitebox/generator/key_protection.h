// key_protection.h: the protected form of a store key.
//
// A raw AES key byte k at position j is stored as P[j](k), where P[j] is a
// secret byte bijection drawn from the seed, one per position and key size
// (16 for AES-128 keys, 32 for AES-256 keys, from separate streams). The
// key setups of both cores take this form; the generator folds P[j]^-1 into
// each core's key-form conversion, so no table maps it to the raw key.
//
// Used by the generator and by zel-egsk (wrap/unwrap), which must agree
// byte for byte: both derive P from the seed through this code.
//
// WARNING: unprotect_key produces the raw key; only zel-egsk calls it, on
// a provisioning host.
//
// Constant time: no; the maps are indexed by key bytes (host tools only).
#ifndef ZEL_WHITEBOX_GENERATOR_KEY_PROTECTION_H
#define ZEL_WHITEBOX_GENERATOR_KEY_PROTECTION_H

#include <cstdint>
#include <vector>

#include "byte_bijection.h"

namespace zel_wbgen {

// protection_maps returns P[0..key_len) for a key of |key_len| bytes (16 or
// 32).
std::vector<ByteMap> protection_maps(const uint8_t seed[32], unsigned key_len);

// protect_key and unprotect_key map |key_len| bytes from |in| to |out|.
void protect_key(const uint8_t seed[32], const uint8_t* in, unsigned key_len,
                 uint8_t* out);
void unprotect_key(const uint8_t seed[32], const uint8_t* in,
                   unsigned key_len, uint8_t* out);

// wipe_maps clears protection maps before they are released.
void wipe_maps(std::vector<ByteMap>& maps);

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_KEY_PROTECTION_H
