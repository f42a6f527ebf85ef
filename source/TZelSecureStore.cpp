// TZelSecureStore.cpp: see TZelSecureStore.h.
#include "TZelSecureStore.h"

#include "TZelSecureStoreCrypto.h"

TZelSecureStore& TZelSecureStore::GetInstance() {
  static TZelSecureStoreCrypto instance;
  return instance;
}

TZelSecureStore::~TZelSecureStore() = default;

bool TZelSecureStore::Load(const std::string& path, THevoBlob& out) {
  THevoBlob cipherText;
  bool ok = cipherText.Load(path);
  if (ok) ok = Decrypt(cipherText, out);
  return ok;
}

bool TZelSecureStore::Store(const std::string& path, const THevoBlob& in) {
  THevoBlob cipherText;
  bool ok = Encrypt(in, cipherText);
  if (ok) ok = cipherText.Store(path);
  return ok;
}
