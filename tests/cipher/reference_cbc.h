// reference_cbc.h: plain AES-CBC decryption without padding removal, from
// the reference block cipher, as the oracle for padding verdicts.
#ifndef ZEL_TESTS_CIPHER_REFERENCE_CBC_H
#define ZEL_TESTS_CIPHER_REFERENCE_CBC_H

#include "hex.h"

// ReferenceCbcDecrypt decrypts |ciphertext| (a multiple of 16 bytes) under
// the raw AES |key| (16 or 32 bytes) and |iv| and returns every byte,
// padding included.
Bytes ReferenceCbcDecrypt(const Bytes& key, const Bytes& iv,
                          const Bytes& ciphertext);

#endif  // ZEL_TESTS_CIPHER_REFERENCE_CBC_H
