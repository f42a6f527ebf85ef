// The secure store and its cipher: sizes and round trips, files written
// only after encryption succeeded, and what each kind of bad file gives.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TZelSecureStore.h"
#include "TZelSecureStoreCrypto.h"
#include "temp_dir.h"

namespace {

using ::testing::StrEq;
using ::testing::Throws;

TZelSecureStore& Store() { return TZelSecureStore::GetInstance(); }
std::string Text(const THevoBlob& blob) {
  return std::string(blob.GetContainer().begin(), blob.GetContainer().end());
}

TEST(SecureStore, RoundTripsAtBlockBoundaries) {
  EXPECT_NE(dynamic_cast<TZelSecureStoreCrypto*>(&Store()), nullptr);
  TempDir dir;
  for (size_t size : {16u, 17u, 31u, 32u, 1000u}) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7);
    ASSERT_TRUE(Store().Store(dir / "item.enc", THevoBlob(bytes)));
    EXPECT_EQ(ReadFile(dir / "item.enc").size(), (size & ~size_t{15}) + 16);
    THevoBlob out(std::string(5000, 'o'));  // old bytes that must go
    ASSERT_TRUE(Store().Load(dir / "item.enc", out));
    EXPECT_EQ(Text(out), bytes);
  }
  EXPECT_EQ(ListDir(dir.path()), std::set<std::string>{"item.enc"});
}

TEST(SecureStore, ShortItemsThrowAndNeverTouchTheFile) {
  TempDir dir;
  WriteFile(dir / "item.enc", "old file");
  for (size_t size : {0u, 1u, 15u}) {
    const char* message = size == 0 ? "ASSERTION FAILED: payload_size > 0" : "ASSERTION FAILED: in_size != 0";
    const THevoBlob item(std::string(size, 's'));
    EXPECT_THAT([&] { Store().Store(dir / "item.enc", item); }, Throws<const char*>(StrEq(message)));
    EXPECT_THAT([&] { Store().Store(dir / "new.enc", item); }, Throws<const char*>(StrEq(message)));
    THevoBlob out;  // the cipher sized its output before the core refused
    EXPECT_THAT([&] { Store().Encrypt(item, out); }, Throws<const char*>(StrEq(message)));
    EXPECT_EQ(out.GetContainer().size(), 16u);
  }
  EXPECT_EQ(ReadFile(dir / "item.enc"), "old file");
  EXPECT_EQ(ListDir(dir.path()), std::set<std::string>{"item.enc"});
}

TEST(SecureStore, BadFiles) {
  TempDir dir;
  THevoBlob out(std::string("caller's bytes"));
  EXPECT_FALSE(Store().Load(dir / "missing.enc", out));
  EXPECT_EQ(Text(out), "caller's bytes");
  EXPECT_FALSE(Store().Store(dir / "no/such/dir.enc", THevoBlob(std::string(16, 'x'))));

  // The first block of the ciphertext of a whole block of padding
  // decrypts to nothing: a failure, with an empty output.
  THevoBlob pad_only;
  ASSERT_TRUE(Store().Encrypt(THevoBlob(std::string(16, '\x10')), pad_only));
  pad_only.GetContainer().resize(16);
  ASSERT_TRUE(pad_only.Store(dir / "pad-only.enc"));
  EXPECT_FALSE(Store().Load(dir / "pad-only.enc", out));
  EXPECT_TRUE(out.GetContainer().empty());

  const std::pair<std::string, const char*> malformed[] = {
      {"", "ASSERTION FAILED: in_size != 0"},
      {std::string(20, 'x'), "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0"}};
  for (const auto& file : malformed) {
    WriteFile(dir / "bad.enc", file.first);
    EXPECT_THAT([&] { Store().Load(dir / "bad.enc", out); }, Throws<const char*>(StrEq(file.second)));
  }
}

}  // namespace
