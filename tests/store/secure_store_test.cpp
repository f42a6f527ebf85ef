// The secure store: files are written only after encryption succeeded and
// read before anything is decrypted.
#include <gtest/gtest.h>

#include "TZelSecureStore.h"
#include "store_test_util.h"
#include "temp_dir.h"

namespace {

TZelSecureStore& Store() { return TZelSecureStore::GetInstance(); }

TEST(SecureStore, StoreThenLoadRoundTrips) {
  TempDir dir;
  for (size_t size : {16u, 17u, 4096u}) {
    const std::string bytes(size, 'k');
    ASSERT_TRUE(Store().Store(dir / "item.enc", THevoBlob(bytes)));
    EXPECT_EQ(ReadFile(dir / "item.enc").size(), (size & ~size_t{15}) + 16);
    THevoBlob out;
    ASSERT_TRUE(Store().Load(dir / "item.enc", out));
    EXPECT_EQ(BlobBytes(out), bytes);
  }
  EXPECT_EQ(ListDir(dir.path()), std::set<std::string>{"item.enc"});
}

TEST(SecureStore, FailedEncryptionNeverTouchesTheFile) {
  TempDir dir;
  WriteFile(dir / "item.enc", "old file");
  for (const std::string& bytes : {std::string(), std::string(15, 's')}) {
    EXPECT_NE(ThrownMessage([&] { Store().Store(dir / "item.enc", THevoBlob(bytes)); }),
              "<no exception>");
    EXPECT_NE(ThrownMessage([&] { Store().Store(dir / "new.enc", THevoBlob(bytes)); }),
              "<no exception>");
  }
  EXPECT_EQ(ReadFile(dir / "item.enc"), "old file");
  EXPECT_EQ(ListDir(dir.path()), std::set<std::string>{"item.enc"});
}

TEST(SecureStore, UnreadableFileLeavesTheOutputAlone) {
  TempDir dir;
  THevoBlob out(std::string("caller's bytes"));
  EXPECT_FALSE(Store().Load(dir / "missing.enc", out));
  EXPECT_EQ(BlobBytes(out), "caller's bytes");
  EXPECT_FALSE(Store().Store(dir / "no/such/dir.enc", THevoBlob(std::string(16, 'x'))));
}

TEST(SecureStore, MalformedFilesThrowFromTheCipher) {
  TempDir dir;
  const struct {
    std::string content;
    const char* message;
  } cases[] = {
      {"", "ASSERTION FAILED: in_size != 0"},
      {std::string(20, 'x'), "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0"},
  };
  for (const auto& c : cases) {
    WriteFile(dir / "bad.enc", c.content);
    THevoBlob out;
    EXPECT_EQ(ThrownMessage([&] { Store().Load(dir / "bad.enc", out); }), c.message);
  }
}

}  // namespace
