// The store cipher: sizes, round trips and the failures that pass through.
#include <gtest/gtest.h>

#include "TZelSecureStore.h"
#include "TZelSecureStoreCrypto.h"
#include "store_test_util.h"

namespace {

TZelSecureStore& Store() { return TZelSecureStore::GetInstance(); }

TEST(StoreCipher, InstanceIsTheCipherAndIsUnique) {
  EXPECT_EQ(&Store(), &TZelSecureStore::GetInstance());
  EXPECT_NE(dynamic_cast<TZelSecureStoreCrypto*>(&Store()), nullptr);
}

TEST(StoreCipher, RoundTripsAtBlockBoundaries) {
  const struct {
    size_t plain;
    size_t cipher;
  } cases[] = {{16, 32}, {17, 32}, {31, 32}, {32, 48}, {1000, 1008}};
  for (const auto& c : cases) {
    std::string bytes(c.plain, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
    THevoBlob cipher, again, plain(std::string(5000, 'o'));  // old bytes to go
    ASSERT_TRUE(Store().Encrypt(THevoBlob(bytes), cipher)) << c.plain;
    EXPECT_EQ(cipher.GetContainer().size(), c.cipher);
    ASSERT_TRUE(Store().Encrypt(THevoBlob(bytes), again));
    EXPECT_EQ(BlobBytes(again), BlobBytes(cipher));  // one key, one IV
    ASSERT_TRUE(Store().Decrypt(cipher, plain));
    EXPECT_EQ(BlobBytes(plain), bytes);  // nothing of the old content left
  }
}

TEST(StoreCipher, ShortItemsThrowAfterSizingTheOutput) {
  for (size_t size = 0; size < 16; ++size) {
    THevoBlob out;
    const std::string message = ThrownMessage(
        [&] { Store().Encrypt(THevoBlob(std::string(size, 'x')), out); });
    EXPECT_EQ(message, size == 0 ? "ASSERTION FAILED: payload_size > 0"
                                 : "ASSERTION FAILED: in_size != 0")
        << size;
    EXPECT_EQ(out.GetContainer().size(), 16u);
  }
}

TEST(StoreCipher, DecryptFailures) {
  // A whole block of padding decrypts to nothing: reported as a failure.
  // The first block of the ciphertext of sixteen 0x10 bytes is exactly that
  // block under the store's IV.
  THevoBlob pad_only;
  ASSERT_TRUE(Store().Encrypt(THevoBlob(std::string(16, '\x10')), pad_only));
  pad_only.GetContainer().resize(16);
  THevoBlob out(std::string("old"));
  EXPECT_FALSE(Store().Decrypt(pad_only, out));
  EXPECT_TRUE(out.GetContainer().empty());

  const struct {
    size_t size;
    const char* message;
  } bad_lengths[] = {{0, "ASSERTION FAILED: in_size != 0"},
                     {15, "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0"},
                     {33, "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0"}};
  for (const auto& c : bad_lengths) {
    EXPECT_EQ(ThrownMessage([&] {
                Store().Decrypt(THevoBlob(std::string(c.size, 'c')), out);
              }),
              c.message);
  }
}

}  // namespace
