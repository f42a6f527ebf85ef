// test_keys.h: the form in which test keys are handed to the cipher
// wrappers.
//
// The wrappers pass key bytes to the core's key setup unchanged, and which
// form those bytes take is the core's choice. Every test and benchmark that
// keys a PKIWB_encrypt or PKIWB_decrypt goes through CoreKeyForm.
#ifndef ZEL_TESTS_CIPHER_TEST_KEYS_H
#define ZEL_TESTS_CIPHER_TEST_KEYS_H

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#ifdef ZEL_WB_PROTECTED_KEYS
#include "key_protection.h"
#include "seed_file.h"
#endif

// CoreKeyForm returns |raw_key| (an AES key of 16 or 32 bytes) in the form
// that the core's key setup takes, of the same length: the raw key for the
// reference core, the protected form under the build's seed for the
// white-box core. Other lengths are returned unchanged (they are refused by
// the wrappers whatever their form).
inline std::vector<uint8_t> CoreKeyForm(const std::vector<uint8_t>& raw_key) {
#ifdef ZEL_WB_PROTECTED_KEYS
  if (raw_key.size() != 16 && raw_key.size() != 32) return raw_key;
  // Deriving the maps takes a while; keep them per key size.
  static std::map<size_t, std::vector<zel_wbgen::ByteMap>> maps_by_size;
  std::vector<zel_wbgen::ByteMap>& maps = maps_by_size[raw_key.size()];
  if (maps.empty()) {
    zel_wbgen::Seed seed;
    std::string error;
    if (!zel_wbgen::read_seed_file(ZEL_WB_SEED_FILE, seed, error))
      throw std::runtime_error(error);
    maps = zel_wbgen::protection_maps(seed.bytes,
                                      static_cast<unsigned>(raw_key.size()));
  }
  std::vector<uint8_t> protected_key(raw_key.size());
  for (size_t j = 0; j < raw_key.size(); ++j) protected_key[j] = maps[j][raw_key[j]];
  return protected_key;
#else
  return raw_key;
#endif
}

#endif  // ZEL_TESTS_CIPHER_TEST_KEYS_H
