// TZelSecureStore.cpp: see TZelSecureStore.h.
#include "TZelSecureStore.h"

#include "TZelSecureStoreCrypto.h"
#include "ZelSecureStoreItems.h"

TZelSecureStore& TZelSecureStore::GetInstance() {
  static TZelSecureStoreCrypto instance;
  return instance;
}

TZelSecureStore::~TZelSecureStore() = default;

bool TZelSecureStore::Load(const std::string& path, THevoBlob& out) {
  THevoBlob cipherText;
  if (!cipherText.Load(path, PKIWB_encrypt::get_padded_payload_size(MAX_ITEM_SIZE)))
    return false;
  // Decrypted in place: |out| takes the ciphertext's buffer, and its old
  // bytes go to |cipherText|, which wipes them.
  out.GetContainer().swap(cipherText.GetContainer());
  return Decrypt(out, out);
}

bool TZelSecureStore::Store(const std::string& path, const THevoBlob& in) {
  THevoBlob cipherText;
  return ZelEncryptItem(*this, path, in, cipherText) && cipherText.Store(path);
}

bool ZelEncryptItem(TZelSecureStore& store, const std::string& /*path*/,
                    const THevoBlob& in, THevoBlob& out) {
  if (in.GetContainer().size() > TZelSecureStore::MAX_ITEM_SIZE) return false;
  return store.Encrypt(in, out);
}
