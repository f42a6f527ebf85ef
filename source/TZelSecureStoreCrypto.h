// TZelSecureStoreCrypto.h: the store's cipher: AES-CBC with PKCS#7 padding
// under the store key and IV built into the library.
//
// It owns one encryptor, one decryptor and private copies of the embedded
// key material. Every file gets the same key and IV, so equal items give
// equal files, and a file holds ciphertext only: its length is the item's
// length rounded down to a multiple of 16, plus 16.
//
// WARNING: items shorter than 16 bytes cannot be encrypted (Encrypt throws
// "ASSERTION FAILED: in_size != 0", or "ASSERTION FAILED: payload_size > 0"
// for an empty item), and Decrypt reports an empty plaintext as a failure.
#ifndef TZEL_SECURE_STORE_CRYPTO_H
#define TZEL_SECURE_STORE_CRYPTO_H

#include <memory>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "THevoBlob.h"
#include "TZelSecureStore.h"
#include "ZelExport.h"

class ZEL_EXPORT TZelSecureStoreCrypto : public TZelSecureStore {
 public:
  // TZelSecureStoreCrypto throws "ASSERTION FAILED: EGSK_SIZE == 16 ||
  // EGSK_SIZE == 32" when the embedded store key has another length.
  TZelSecureStoreCrypto();
  ~TZelSecureStoreCrypto() override;
  TZelSecureStoreCrypto(const TZelSecureStoreCrypto&) = delete;
  TZelSecureStoreCrypto& operator=(const TZelSecureStoreCrypto&) = delete;

  // Encrypt sizes |out| to the padded length and encrypts |in| into it;
  // true when the whole padded length was written.
  bool Encrypt(const THevoBlob& in, THevoBlob& out) override;

  // Decrypt decrypts |in| into |out|, strips the padding and leaves exactly
  // the plaintext in |out|; true when that plaintext is not empty.
  bool Decrypt(const THevoBlob& in, THevoBlob& out) override;

 private:
  std::unique_ptr<PKIWB_decrypt> decryptor;
  std::unique_ptr<PKIWB_encrypt> encryptor;
  THevoBlob egsk;
  THevoBlob uid;
};

#endif  // TZEL_SECURE_STORE_CRYPTO_H
