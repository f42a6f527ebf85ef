// ZelSecureStoreItems.h: the secure store's steps of one item file, for
// the key store, which writes the files of a keychain itself so that they
// change together. Internal to the library.
#ifndef ZEL_SECURE_STORE_ITEMS_H
#define ZEL_SECURE_STORE_ITEMS_H

#include <string>

#include "THevoBlob.h"
#include "TZelSecureStore.h"

// ZelEncryptItem encrypts |in| into |out|, the content that |store|'s Store
// would write as the item file |path|, which it does not touch. False for
// a blob larger than TZelSecureStore::MAX_ITEM_SIZE or a failed
// encryption; the cipher's exceptions pass through.
bool ZelEncryptItem(TZelSecureStore& store, const std::string& path,
                    const THevoBlob& in, THevoBlob& out);

#endif  // ZEL_SECURE_STORE_ITEMS_H
