// ZelKeyChainLocks.h: the kernel locks that keep the key-store calls of
// several processes (and threads) on one keychain apart. Internal to the
// key store.
//
// The locks are byte-range locks of the open file description (F_OFD_SETLKW)
// on one empty file in the key-store directory, ".hevo-tmp-lock" (mode 0600,
// never listed or loaded, never removed). A keychain's lock key is the base
// name of its item files, the part of a file name before its first "." (the
// name by which a load finds the files); each key locks one byte at an
// offset hashed from it, so keychains of different names rarely share a
// lock. Keys are locked in the order of their offsets, so two calls that
// need several keys cannot wait for each other in a cycle. The kernel
// releases the locks of a process that dies: a killed writer blocks nobody.
//
// Best effort: where the lock file cannot be opened (a directory that is
// missing, or read-only without the file) the calls go unlocked; opened
// read-only, the locks are shared ones, which still keep out writers.
#ifndef ZEL_KEY_CHAIN_LOCKS_H
#define ZEL_KEY_CHAIN_LOCKS_H

#include <sys/types.h>

#include <set>
#include <string>

#include "HevoFileDescriptor.h"

class ZelKeyChainLocks {
 public:
  // kFileName is the lock file's name in the key-store directory.
  static constexpr const char kFileName[] = ".hevo-tmp-lock";

  // ZelKeyChainLocks opens (creating it if needed) the lock file in the
  // directory |dir_fd|. Nothing is locked yet.
  explicit ZelKeyChainLocks(int dir_fd);
  ZelKeyChainLocks(const ZelKeyChainLocks&) = delete;
  ZelKeyChainLocks& operator=(const ZelKeyChainLocks&) = delete;

  // Lock waits for and takes the locks of |keys| that it does not hold
  // yet. WARNING: to keep the order, a caller that holds locks and needs
  // more calls UnlockAll first and then Lock with all the keys.
  void Lock(const std::set<std::string>& keys);

  // UnlockAll releases every lock taken. Closing the file (destruction)
  // does too.
  void UnlockAll();

 private:
  bool LockRange(off_t offset, short type);

  HevoFileDescriptor file_;
  bool writable_ = false;
  bool whole_file_ = false;  // byte ranges refused: one lock for all keys
  std::set<off_t> held_;
};

#endif  // ZEL_KEY_CHAIN_LOCKS_H
