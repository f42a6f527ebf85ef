// PKIWB_encrypt.h: AES-CBC encryption with PKCS#7 padding through the
// encryptor core.
//
// A PKIWB_encrypt owns one core state. Use it either through encrypt_payload
// (which sets up key and IV itself), or through aes_init followed by one or
// more wb_cbc_encrypt / wb_cbc_encrypt_pkcs7 calls that continue one CBC
// chain. Key material is handed in on every setup and is in the form that
// the core's key setup takes.
//
// Failures are thrown as a pointer to a constant string that begins
// "ASSERTION FAILED: " and names the failed condition. The object stays
// usable after any failure.
//
// WARNING: payloads shorter than 16 bytes cannot be encrypted: the
// whole-block step runs first and refuses an empty run of blocks.
//
// One object serves one caller at a time; separate objects are independent.
#ifndef PKIWB_ENCRYPT_H
#define PKIWB_ENCRYPT_H

#include "ZelExport.h"

#ifndef AES_BLOCK_SIZE
#define AES_BLOCK_SIZE 16
#endif

namespace wb_enc {
struct WbCoreState;
}

class ZEL_EXPORT PKIWB_encrypt {
 public:
  // PKIWB_encrypt builds an object for keys of |keysize| bytes. Only 16
  // (AES-128) and 32 (AES-256) are usable; other values are accepted here
  // and refused by every key-dependent call.
  explicit PKIWB_encrypt(unsigned int keysize);
  ~PKIWB_encrypt();
  PKIWB_encrypt(const PKIWB_encrypt&) = delete;
  PKIWB_encrypt& operator=(const PKIWB_encrypt&) = delete;

  // aes_init loads |key| (keysize bytes) and starts a chain from the core's
  // fixed initial value.
  void aes_init(const unsigned char* key);
  // aes_init loads |key| and starts a chain from the 16-byte |iv|.
  void aes_init(const unsigned char* key, const unsigned char* iv);

  // wb_cbc_encrypt encrypts |in_size| bytes (a non-zero multiple of 16) of
  // white input into |black_out|, continuing the chain.
  void wb_cbc_encrypt(const unsigned char* white_in, unsigned char* black_out,
                      unsigned int in_size);

  // wb_cbc_encrypt_pkcs7 encrypts |in_size| white bytes (at least 16) and
  // one block of padding into |black_out|, which has room for
  // get_padded_payload_size(in_size) bytes. Returns the bytes written.
  unsigned int wb_cbc_encrypt_pkcs7(const unsigned char* white_in,
                                    unsigned char* black_out,
                                    unsigned int in_size);

  // get_padded_payload_size returns |n| rounded down to a multiple of 16,
  // plus 16 (unsigned 32-bit arithmetic, so it wraps for the largest n).
  static unsigned int get_padded_payload_size(unsigned int n);

  // encrypt_payload encrypts |payload_size| plain bytes from |in| into
  // |out| (room for get_padded_payload_size(payload_size) bytes), under
  // |key| and the core's fixed initial value, and returns the bytes
  // written. |in| and |out| may overlap.
  unsigned int encrypt_payload(const unsigned char* key,
                               const unsigned char* in,
                               unsigned int payload_size, unsigned char* out);
  // encrypt_payload does the same under |key| and the 16-byte |iv|.
  unsigned int encrypt_payload(const unsigned char* key,
                               const unsigned char* iv,
                               const unsigned char* in,
                               unsigned int payload_size, unsigned char* out);

 private:
  template <typename KeySetup>
  unsigned int EncryptPayload(const unsigned char* in,
                              unsigned int payload_size, unsigned char* out,
                              KeySetup key_setup);

  wb_enc::WbCoreState* wb;
  unsigned int keysize;
};

#endif  // PKIWB_ENCRYPT_H
