// PKIWB_decrypt.h: AES-CBC decryption with PKCS#7 padding through the
// decryptor core, and re-encryption of a ciphertext under a new IV.
//
// A PKIWB_decrypt owns one core state of the decryptor core. Use it through
// decrypt_payload or recrypt_payload (which set up the key themselves), or
// through aes_init followed by CBC steps that continue one chain.
//
// Failures are thrown as a pointer to a constant string that begins
// "ASSERTION FAILED: " and names the failed condition; |out| is not written
// when a call throws. The object stays usable after any failure.
//
// WARNING: the padding check is lenient: only the last byte is examined,
// and any value from 1 to 16 is accepted whatever the bytes before it. A
// wrong key or IV, or a changed ciphertext, is detected only when that byte
// falls outside 1..16; otherwise a wrong plaintext is returned as if right.
//
// One object serves one caller at a time; separate objects are independent.
#ifndef PKIWB_DECRYPT_H
#define PKIWB_DECRYPT_H

#include "ZelExport.h"

#ifndef AES_BLOCK_SIZE
#define AES_BLOCK_SIZE 16
#endif

namespace wb_dec {
struct WbCoreState;
}

class ZEL_EXPORT PKIWB_decrypt {
 public:
  // PKIWB_decrypt builds an object for keys of |keysize| bytes; only 16 and
  // 32 are usable, others are refused by every key-dependent call.
  explicit PKIWB_decrypt(unsigned int keysize);
  ~PKIWB_decrypt();
  PKIWB_decrypt(const PKIWB_decrypt&) = delete;
  PKIWB_decrypt& operator=(const PKIWB_decrypt&) = delete;

  // aes_init loads |key| and starts a chain from the core's fixed initial
  // value (the same as the encryptor's).
  void aes_init(const unsigned char* key);
  // aes_init loads |key| and starts a chain from the 16-byte |iv|.
  void aes_init(const unsigned char* key, const unsigned char* iv);

  // wb_cbc_decrypt decrypts |in_size| bytes (a non-zero multiple of 16) of
  // ciphertext into |yellow_out|, in the core's output encoding.
  void wb_cbc_decrypt(const unsigned char* black_in, unsigned char* yellow_out,
                      unsigned int in_size);

  // wb_cbc_decrypt_pkcs7 decrypts like wb_cbc_decrypt and returns the length
  // without the padding; |yellow_out| keeps all |in_size| bytes.
  unsigned int wb_cbc_decrypt_pkcs7(const unsigned char* black_in,
                                    unsigned char* yellow_out,
                                    unsigned int in_size);

  // wb_cbc_decrypt_for_recrypt decrypts into the core's intermediate (blue)
  // form, which only this class's wb_cbc_encrypt accepts.
  void wb_cbc_decrypt_for_recrypt(const unsigned char* black_in,
                                  unsigned char* blue_out,
                                  unsigned int in_size);

  // wb_cbc_encrypt encrypts blue input back to ciphertext.
  void wb_cbc_encrypt(const unsigned char* blue_in, unsigned char* black_out,
                      unsigned int in_size);

  // decrypt_payload decrypts |payload_size| bytes of ciphertext made under
  // |key| and the core's fixed initial value, strips the padding, writes the
  // plaintext to |out| (room for payload_size - 1 bytes) and returns its
  // length. |in| and |out| may overlap.
  unsigned int decrypt_payload(const unsigned char* key,
                               const unsigned char* in,
                               unsigned int payload_size, unsigned char* out);
  // decrypt_payload does the same for ciphertext made under |key| and |iv|.
  unsigned int decrypt_payload(const unsigned char* key,
                               const unsigned char* iv,
                               const unsigned char* in,
                               unsigned int payload_size, unsigned char* out);

  // recrypt_payload turns |payload_size| bytes of ciphertext made under
  // |key| and the core's fixed initial value into the ciphertext of the same
  // plaintext under |key| and |iv|, of the same length, without the
  // plaintext leaving the core's encoded forms. No padding is checked.
  void recrypt_payload(const unsigned char* key, const unsigned char* iv,
                       const unsigned char* in, unsigned int payload_size,
                       unsigned char* out);

 private:
  template <typename KeySetup>
  unsigned int DecryptPayload(const unsigned char* in,
                              unsigned int payload_size, unsigned char* out,
                              KeySetup key_setup);

  wb_dec::WbCoreState* wb;
  unsigned int keysize;
};

#endif  // PKIWB_DECRYPT_H
