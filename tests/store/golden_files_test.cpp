// Item files written once with the development keys still read back, and
// storing their plaintext still gives the same bytes: stored credentials
// stay readable across changes to the library.
#include <gtest/gtest.h>

#include "TZelSecureStore.h"
#include "store_test_util.h"
#include "temp_dir.h"

namespace {

#define ZEL_STR2(x) #x
#define ZEL_STR(x) ZEL_STR2(x)
const std::string kGoldenDir = ZEL_TEST_DATA_DIR "/golden/";
const std::string kSuffix = ".aes" ZEL_STR(ZEL_GOLDEN_KEY_BITS) ".enc";

TEST(GoldenFiles, LoadAndStoreMatchTheFilesByteForByte) {
  const char* names[] = {"block16", "odd17", "binary300", "device.crt",
                         "device.key"};
  TempDir dir;
  for (const char* name : names) {
    const std::string golden = kGoldenDir + name + kSuffix;
    const std::string plain = ReadFile(kGoldenDir + name + ".plain");
    ASSERT_NE(plain, "<missing>") << name;

    THevoBlob loaded;
    ASSERT_TRUE(TZelSecureStore::GetInstance().Load(golden, loaded)) << name;
    EXPECT_EQ(BlobBytes(loaded), plain) << name;

    ASSERT_TRUE(TZelSecureStore::GetInstance().Store(dir / "item", THevoBlob(plain)));
    EXPECT_EQ(ReadFile(dir / "item"), ReadFile(golden)) << name;
  }
}

}  // namespace
