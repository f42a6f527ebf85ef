// test_keys.h: the form in which tests and benchmarks hand keys to the
// cipher wrappers.
//
// The wrappers pass key bytes to the core's key setup unchanged, and which
// form those bytes take is the core's choice: the raw key for the
// reference core, the protected form under the build's seed for the
// white-box core (ZEL_WB_PROTECTED_KEYS), from the same maps as zel-egsk's.
#ifndef ZEL_TESTS_SHARED_TEST_KEYS_H
#define ZEL_TESTS_SHARED_TEST_KEYS_H

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#ifdef ZEL_WB_PROTECTED_KEYS
#include "key_protection.h"
#include "seed_file.h"
#endif

// CoreKeyForm returns |raw_key| in the core's key form. Keys of other
// lengths than 16 and 32 bytes are returned unchanged (the wrappers refuse
// them whatever their form).
inline std::vector<uint8_t> CoreKeyForm(const std::vector<uint8_t>& raw_key) {
#ifdef ZEL_WB_PROTECTED_KEYS
  if (raw_key.size() != 16 && raw_key.size() != 32) return raw_key;
  // Deriving the maps takes a quarter of a second: once per key size.
  static std::map<size_t, std::vector<zel_wbgen::ByteMap>> maps_by_size;
  std::vector<zel_wbgen::ByteMap>& maps = maps_by_size[raw_key.size()];
  if (maps.empty()) {
    zel_wbgen::Seed seed;
    std::string error;
    if (!zel_wbgen::read_seed_file(ZEL_WB_SEED_FILE, seed, error)) throw std::runtime_error(error);
    maps = zel_wbgen::protection_maps(seed.bytes, static_cast<unsigned>(raw_key.size()));
  }
  std::vector<uint8_t> protected_key(raw_key.size());
  for (size_t j = 0; j < raw_key.size(); ++j) protected_key[j] = maps[j][raw_key[j]];
  return protected_key;
#else
  return raw_key;
#endif
}

#endif  // ZEL_TESTS_SHARED_TEST_KEYS_H
