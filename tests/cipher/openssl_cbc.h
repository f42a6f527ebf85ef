// openssl_cbc.h: AES-CBC through OpenSSL's EVP interface, the independent
// oracle of the differential tests.
#ifndef ZEL_TESTS_CIPHER_OPENSSL_CBC_H
#define ZEL_TESTS_CIPHER_OPENSSL_CBC_H

#include "hex.h"

enum class Padding { kPkcs7, kNone };

// OpenSslCbcEncrypt encrypts |plain| under the raw AES |key| (16 or 32
// bytes) and |iv|; without padding |plain| must be whole blocks. It throws
// std::runtime_error when OpenSSL reports a failure.
Bytes OpenSslCbcEncrypt(const Bytes& key, const Bytes& iv, const Bytes& plain,
                        Padding padding);

// OpenSslCbcDecrypt is the inverse; with kPkcs7 it checks and strips the
// padding as OpenSSL does (all pad bytes).
Bytes OpenSslCbcDecrypt(const Bytes& key, const Bytes& iv, const Bytes& cipher,
                        Padding padding);

#endif  // ZEL_TESTS_CIPHER_OPENSSL_CBC_H
