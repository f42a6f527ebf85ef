// core_driver.h: drives the white-box cores through wb_core.h the way the
// wrappers do, for tests that check the cores against the reference AES.
//
// EncryptorCore and DecryptorCore own a state and its working block; keys
// are given raw and protected with the build's seed (ZEL_WB_SEED_FILE)
// before they reach a key setup, as a product's provisioning would.
#ifndef ZEL_TESTS_WHITEBOX_CORE_DRIVER_H
#define ZEL_TESTS_WHITEBOX_CORE_DRIVER_H

#include <cstdint>
#include <vector>

#include "wb_core.h"

using Bytes = std::vector<uint8_t>;

// protect_with_build_seed returns the protected form of |raw| (16 or 32
// bytes) for the tables this test was built with.
Bytes protect_with_build_seed(const Bytes& raw);

// reference_cbc_encrypt / reference_cbc_decrypt: plain AES-CBC with the
// reference block cipher; an empty |iv| means sixteen zero bytes.
Bytes reference_cbc_encrypt(const Bytes& raw_key, const Bytes& iv,
                            const Bytes& plain);
Bytes reference_cbc_decrypt(const Bytes& raw_key, const Bytes& iv,
                            const Bytes& cipher);

Bytes to_white(const Bytes& plain);
Bytes from_yellow(const Bytes& yellow);

class EncryptorCore {
 public:
  EncryptorCore();
  ~EncryptorCore();
  EncryptorCore(const EncryptorCore&) = delete;
  EncryptorCore& operator=(const EncryptorCore&) = delete;

  // key_setup runs the key-only setup when |iv| is empty.
  void key_setup(const Bytes& protected_key, const Bytes& iv);
  // encrypt runs one CBC call; |in_place| passes the same buffer as input
  // and output.
  Bytes encrypt(const Bytes& white, bool in_place = false);

 private:
  wb_enc::WbCoreState state_;
  unsigned key_len_ = 0;
};

class DecryptorCore {
 public:
  DecryptorCore();
  ~DecryptorCore();
  DecryptorCore(const DecryptorCore&) = delete;
  DecryptorCore& operator=(const DecryptorCore&) = delete;

  void key_setup(const Bytes& protected_key, const Bytes& iv);
  Bytes decrypt(const Bytes& black, bool in_place = false);  // to yellow
  Bytes decrypt_blue(const Bytes& black);
  Bytes encrypt_blue(const Bytes& blue);

 private:
  wb_dec::WbCoreState state_;
  unsigned key_len_ = 0;
};

#endif  // ZEL_TESTS_WHITEBOX_CORE_DRIVER_H
