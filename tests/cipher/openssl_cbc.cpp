#include "openssl_cbc.h"

#include <openssl/evp.h>

#include <memory>
#include <stdexcept>

namespace {

const EVP_CIPHER* CbcCipher(size_t key_bytes) {
  if (key_bytes == 16) return EVP_aes_128_cbc();
  if (key_bytes == 32) return EVP_aes_256_cbc();
  throw std::invalid_argument("OpenSSL CBC: key of " +
                              std::to_string(key_bytes) + " bytes");
}

Bytes RunCipher(bool encrypt, const Bytes& key, const Bytes& iv,
                const Bytes& input, Padding padding) {
  if (iv.size() != 16) throw std::invalid_argument("OpenSSL CBC: IV size");
  std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
      EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  if (!context) throw std::runtime_error("EVP_CIPHER_CTX_new failed");
  Bytes output(input.size() + 16);
  int written = 0;
  int final_written = 0;
  const bool ok =
      EVP_CipherInit_ex(context.get(), CbcCipher(key.size()), nullptr,
                        key.data(), iv.data(), encrypt ? 1 : 0) == 1 &&
      EVP_CIPHER_CTX_set_padding(context.get(),
                                 padding == Padding::kPkcs7 ? 1 : 0) == 1 &&
      EVP_CipherUpdate(context.get(), output.data(), &written, input.data(),
                       static_cast<int>(input.size())) == 1 &&
      EVP_CipherFinal_ex(context.get(), output.data() + written,
                         &final_written) == 1;
  if (!ok) throw std::runtime_error("OpenSSL CBC failed");
  output.resize(static_cast<size_t>(written + final_written));
  return output;
}

}  // namespace

Bytes OpenSslCbcEncrypt(const Bytes& key, const Bytes& iv, const Bytes& plain,
                        Padding padding) {
  return RunCipher(true, key, iv, plain, padding);
}

Bytes OpenSslCbcDecrypt(const Bytes& key, const Bytes& iv, const Bytes& cipher,
                        Padding padding) {
  return RunCipher(false, key, iv, cipher, padding);
}
