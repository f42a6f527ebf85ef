// test_keys.h: the form in which test keys are handed to the cipher
// wrappers.
//
// The wrappers pass key bytes to the core's key setup unchanged, and which
// form those bytes take is the core's choice. Every test and benchmark that
// keys a PKIWB_encrypt or PKIWB_decrypt goes through CoreKeyForm, so that a
// core taking its keys in a protected form needs a change here only.
#ifndef ZEL_TESTS_CIPHER_TEST_KEYS_H
#define ZEL_TESTS_CIPHER_TEST_KEYS_H

#include <cstdint>
#include <vector>

// CoreKeyForm returns |raw_key| (an AES key of 16 or 32 bytes) in the form
// that the core's key setup takes, of the same length. The reference core
// takes the raw AES key.
inline std::vector<uint8_t> CoreKeyForm(const std::vector<uint8_t>& raw_key) {
  return raw_key;
}

#endif  // ZEL_TESTS_CIPHER_TEST_KEYS_H
