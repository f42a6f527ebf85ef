// store_test_util.h: small helpers shared by the store tests.
#ifndef ZEL_TESTS_STORE_TEST_UTIL_H
#define ZEL_TESTS_STORE_TEST_UTIL_H

#include <string>

#include "THevoBlob.h"

inline std::string BlobBytes(const THevoBlob& blob) {
  return std::string(blob.GetContainer().begin(), blob.GetContainer().end());
}

// ThrownMessage runs |call| and returns the const char* it threw, or
// "<no exception>".
template <typename Call>
std::string ThrownMessage(Call call) {
  try {
    call();
  } catch (const char* message) {
    return message;
  }
  return "<no exception>";
}

#endif  // ZEL_TESTS_STORE_TEST_UTIL_H
