// A library built with a 24-byte store key refuses to create its store, on
// every attempt.
#include <gtest/gtest.h>

#include "TZelSecureStore.h"
#include "store_test_util.h"

namespace {

TEST(KeySize, TwentyFourByteKeyIsRefusedEachTime) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(ThrownMessage([] { TZelSecureStore::GetInstance(); }),
              "ASSERTION FAILED: EGSK_SIZE == 16 || EGSK_SIZE == 32")
        << "attempt " << attempt;
  }
}

}  // namespace
