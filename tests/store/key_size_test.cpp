// A library built with a 24-byte store key refuses to create its store, on
// every attempt.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TZelSecureStore.h"

TEST(StoreKeySize, TwentyFourByteKeyIsRefusedEachTime) {
  for (int attempt = 0; attempt < 2; ++attempt)
    EXPECT_THAT([] { TZelSecureStore::GetInstance(); },
                ::testing::Throws<const char*>(
                    ::testing::StrEq("ASSERTION FAILED: EGSK_SIZE == 16 || EGSK_SIZE == 32")));
}
