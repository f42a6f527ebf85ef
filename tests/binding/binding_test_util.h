// binding_test_util.h: what the binding's tests share: hex bytes, the
// loaded libcrypto, and the log lines of a bound store.
#ifndef ZEL_TESTS_BINDING_BINDING_TEST_UTIL_H
#define ZEL_TESTS_BINDING_BINDING_TEST_UTIL_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "libcrypto.h"

using Bytes = std::vector<uint8_t>;

inline Bytes Hex(const std::string& hex) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return bytes;
}

inline Bytes BytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

// Crypto returns the process's libcrypto; the test fails where it is
// missing (the bound tests need it: see scripts/install-deps.sh).
inline const zel_binding::Libcrypto& Crypto() {
  std::string error;
  const zel_binding::Libcrypto* crypto = zel_binding::LoadLibcrypto(error);
  if (crypto == nullptr) {
    ADD_FAILURE() << error;
    std::abort();
  }
  return *crypto;
}

#endif  // ZEL_TESTS_BINDING_BINDING_TEST_UTIL_H
