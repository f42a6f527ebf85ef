// TZelSecureStore.h: encrypted storage of one blob as one file.
//
// TZelSecureStore fixes the order of work: Store encrypts the whole blob in
// memory and only then writes the file; Load reads the whole file and only
// then decrypts it. The encryption itself is left to Encrypt and Decrypt,
// which the process's one concrete store supplies (TZelSecureStoreCrypto).
//
// Failures of file I/O and of decryption come back as false. Malformed
// ciphertext and blobs that cannot be encrypted (shorter than 16 bytes) are
// thrown by the cipher layer as a const char* message beginning "ASSERTION
// FAILED: " and pass through unchanged.
//
// The instance holds no lock: callers serialise Load and Store.
#ifndef TZEL_SECURE_STORE_H
#define TZEL_SECURE_STORE_H

#include <string>

#include "THevoBlob.h"
#include "ZelExport.h"

class ZEL_EXPORT TZelSecureStore {
 public:
  // MAX_ITEM_SIZE bounds an item: 128 MiB, far above any credential. Store
  // refuses a larger blob, and Load a file longer than the ciphertext of the
  // largest item (MAX_ITEM_SIZE + 16 bytes), with false, so that a hostile
  // file cannot exhaust memory.
  static constexpr unsigned MAX_ITEM_SIZE = 128u << 20;

  // GetInstance returns the process's one store, creating it on the first
  // call. If creating it throws, the exception passes on and the next call
  // tries again.
  static TZelSecureStore& GetInstance();

  virtual ~TZelSecureStore();

  // Load reads the encrypted file at |path| and decrypts it into |out|.
  // When the file cannot be read, it returns false and leaves |out| as it
  // was; when decryption fails, it returns false with |out| emptied. Only a
  // regular file of at most MAX_ITEM_SIZE + 16 bytes is read (see
  // THevoBlob::Load); Load never blocks.
  //
  // WARNING: the file is read into |out| and decrypted in place, by Decrypt
  // with |in| and |out| the same blob, so that a load holds the item's bytes
  // once beside the cipher's scratch; an implementation of Decrypt must
  // allow that. |out|'s old bytes are wiped.
  bool Load(const std::string& path, THevoBlob& out);

  // Store encrypts |in| and writes the result as the file at |path|. The
  // file is not touched unless encryption succeeded; a blob larger than
  // MAX_ITEM_SIZE is refused with false.
  bool Store(const std::string& path, const THevoBlob& in);

  // Encrypt and Decrypt turn the bytes of |in| into |out|; true on success.
  // Decrypt's |in| and |out| may be the same blob (see Load).
  virtual bool Encrypt(const THevoBlob& in, THevoBlob& out) = 0;
  virtual bool Decrypt(const THevoBlob& in, THevoBlob& out) = 0;
};

#endif  // TZEL_SECURE_STORE_H
