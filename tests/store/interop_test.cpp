// An item file is standard AES-CBC with PKCS#7 padding: OpenSSL decrypts it
// with the raw development key and the IV to the original bytes.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <memory>

#include "TZelSecureStore.h"
#include "temp_dir.h"

namespace {

std::string OpenSslDecrypt(const std::string& key, const std::string& iv,
                           const std::string& cipher) {
  std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(
      EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  const EVP_CIPHER* type = key.size() == 16 ? EVP_aes_128_cbc() : EVP_aes_256_cbc();
  auto bytes = [](const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
  };
  std::string plain(cipher.size() + 16, '\0');
  int first = 0, last = 0;
  auto out = reinterpret_cast<unsigned char*>(&plain[0]);
  if (EVP_DecryptInit_ex(ctx.get(), type, nullptr, bytes(key), bytes(iv)) != 1 ||
      EVP_DecryptUpdate(ctx.get(), out, &first, bytes(cipher),
                        static_cast<int>(cipher.size())) != 1 ||
      EVP_DecryptFinal_ex(ctx.get(), out + first, &last) != 1)
    return "<openssl refused>";
  plain.resize(static_cast<size_t>(first + last));
  return plain;
}

TEST(Interop, OpenSslReadsWhatStoreWrites) {
  const std::string key = ReadFile(ZEL_KEYS_DIR "/egsk-raw.bin");
  const std::string iv = ReadFile(ZEL_KEYS_DIR "/uid.bin");
  ASSERT_EQ(key.size(), 16u);
  ASSERT_EQ(iv.size(), 16u);
  TempDir dir;
  for (size_t size : {16u, 31u, 32u, 2000u}) {
    std::string item(size, '\0');
    for (size_t i = 0; i < size; ++i) item[i] = static_cast<char>(i * 31 + 5);
    ASSERT_TRUE(TZelSecureStore::GetInstance().Store(dir / "x.enc", THevoBlob(item)));
    EXPECT_EQ(OpenSslDecrypt(key, iv, ReadFile(dir / "x.enc")), item) << size;
  }
}

}  // namespace
