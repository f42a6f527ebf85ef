// item_file_check.h: decrypting one item file on its own, so that a damaged
// file is named instead of stopping a whole keychain's load.
//
// The file goes through the process's secure store (TZelSecureStore::
// GetInstance().Load), the same reading and decryption as the key store's
// load. The cipher's "ASSERTION FAILED: " messages, which no layer of the
// library catches, are caught here and turned into a reason.
#ifndef ZEL_KEYCHAIN_ITEM_FILE_CHECK_H
#define ZEL_KEYCHAIN_ITEM_FILE_CHECK_H

#include <string>

#include "THevoBlob.h"

// ItemFileState's values count from 0 in this order (verify counts by them).
enum class ItemFileState {
  kOk,          // decrypted to a non-empty item
  kDamaged,     // read, but not an item file of this build's key material
  kUnreadable,  // could not be read (missing, no permission, not a regular file)
};

struct ItemFileCheck {
  ItemFileState state = ItemFileState::kOk;
  std::string reason;  // empty when ok
};

// CheckItemFile decrypts the item file at |path| into |plain|.
ItemFileCheck CheckItemFile(const std::string& path, THevoBlob& plain);

// StateName returns "ok", "damaged" or "unreadable".
const char* StateName(ItemFileState state);

#endif  // ZEL_KEYCHAIN_ITEM_FILE_CHECK_H
