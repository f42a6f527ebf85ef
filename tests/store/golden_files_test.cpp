// Item files written once with the development keys (tests/data/golden,
// made by the OpenSSL command line) still read back, and storing their
// plaintext gives the same bytes: stored credentials stay readable across
// changes to the library. Built once per store-key size; skipped by a build
// that embeds a product's key material.
#include <gtest/gtest.h>

#include "TZelSecureStore.h"
#include "temp_dir.h"

namespace {

#define ZEL_STR2(x) #x
#define ZEL_STR(x) ZEL_STR2(x)

TEST(GoldenFiles, LoadAndStoreMatchTheFilesByteForByte) {
  if (!ZEL_DEVELOPMENT_KEY_MATERIAL)
    GTEST_SKIP() << "the golden files belong to the development key material of keys/, "
                    "and this build embeds a product's (the cipher tests read them "
                    "through the wrappers with the development keys)";
  const std::string dir = ZEL_TEST_DATA_DIR "/golden/";
  TempDir out;
  for (const char* name : {"block16", "odd17", "binary300", "device.crt", "device.key"}) {
    SCOPED_TRACE(name);
    const std::string golden = dir + name + ".aes" ZEL_STR(ZEL_GOLDEN_KEY_BITS) ".enc";
    const std::string plain = ReadFile(dir + name + ".plain");
    THevoBlob loaded;
    ASSERT_TRUE(TZelSecureStore::GetInstance().Load(golden, loaded));
    EXPECT_EQ(loaded.GetContainer(), std::vector<uint8_t>(plain.begin(), plain.end()));
    ASSERT_TRUE(TZelSecureStore::GetInstance().Store(out / "item", THevoBlob(plain)));
    EXPECT_EQ(ReadFile(out / "item"), ReadFile(golden));
  }
}

}  // namespace
