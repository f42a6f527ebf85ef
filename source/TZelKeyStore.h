// TZelKeyStore.h: the process-wide store of keychains.
//
// The key store keeps every keychain in one directory: the device's
// persistent-storage path followed by "/zel_keystore" (created with mode
// 0755 when missing), or the relative directory "zel_keystore" when the
// device cannot tell its persistent-storage path. Each item of a keychain
// named N is one encrypted file, N followed directly by the item id (so N
// ".key.enc" for the private key). There is no index: which items exist is
// known from the file names alone.
//
// Item file names. The key store builds only a file name (keychain name
// followed by item id) that holds no "/" and no NUL byte and does not start
// with ".hevo-tmp-", the prefix of the temporaries that replace files
// crash-safely. Such a name stays inside the key-store directory ("." and
// "..", joined to the name without a separator, stay inside too). For an
// item whose file name breaks this rule, StoreKeyChain writes and replaces
// nothing, EraseKeyChain removes nothing, both log their usual error line
// for the item and count it as failed; LoadKeyChain never finds a keychain
// whose name breaks it. Names and ids often come from outside input (a
// peer's or a device's identifier): this rule is what keeps them inside.
//
// A keychain changes as a whole: StoreKeyChain and EraseKeyChain commit
// all its item files at once, so that a crash leaves them all old or all
// new, and every call holds a kernel lock on the keychain's name, so that
// processes that store and load one keychain at the same time never see a
// mix (ZelKeyChainChange.h, ZelKeyChainLocks.h).
//
// Keychains are passed by reference and not kept. Failures are logged
// (level 2) and summed up in the bool result as each operation states;
// exceptions of the cipher layer (an item shorter than 16 bytes, a
// malformed file) pass through. Within one process, callers serialise
// their threads' calls: the store's cipher objects are shared.
#ifndef TZEL_KEY_STORE_H
#define TZEL_KEY_STORE_H

#include <string>

#include "TZelKeyChain.h"
#include "TZelSecureStore.h"
#include "ZelExport.h"

class ZEL_EXPORT TZelKeyStore {
 public:
  // ROOT_PATH_DEFAULT is the name of the key-store directory, "zel_keystore",
  // and the relative directory used when the device has no
  // persistent-storage path.
  static const char* ROOT_PATH_DEFAULT;

  // GetInstance returns the process's one key store, creating it (and the
  // secure store before it) on the first call.
  static TZelKeyStore& GetInstance();

  // TZelKeyStore works out the key-store directory and creates it when it
  // is missing. Applications use GetInstance.
  TZelKeyStore();
  virtual ~TZelKeyStore();
  TZelKeyStore(const TZelKeyStore&) = delete;
  TZelKeyStore& operator=(const TZelKeyStore&) = delete;

  // StoreKeyChain writes every item, in id order, to its file, replacing an
  // earlier file of the same name; files of items no longer in the keychain
  // stay. The result is that of the last item alone (false for an empty
  // keychain); every failed item is logged.
  bool StoreKeyChain(const TZelKeyChain& keyChain);

  // LoadKeyChain adds to |keyChain| every file whose name, up to
  // its first ".", equals the keychain's name; the rest of the file name is
  // the item id. Items already in the keychain stay unless a file replaces
  // them. True when the keychain holds at least one item afterwards.
  //
  // A file that cannot be read, or decrypts to nothing, is logged and
  // skipped. WARNING: a file that is not whole blocks, or whose pad byte is
  // out of range, makes the cipher layer throw; the exception leaves
  // LoadKeyChain with the files sorted before it already added. A keychain
  // whose name contains "." never finds its own files.
  bool LoadKeyChain(TZelKeyChain& keyChain);

  // EraseKeyChain removes the file of each item the keychain holds (the
  // directory is not searched), then empties the keychain. True when every
  // removal succeeded.
  bool EraseKeyChain(TZelKeyChain& keyChain);

 private:
  TZelSecureStore* secureStore;
  std::string path;  // the key-store directory, without a trailing "/"
};

#endif  // TZEL_KEY_STORE_H
