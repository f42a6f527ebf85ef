// ZelKeyChainGuard.h: what every key-store call holds while it reads or
// writes item files. Internal to the key store.
//
// A guard opens the key-store directory, takes the locks of the keys the
// call touches (ZelKeyChainLocks: one key per base name of the item files,
// which is the keychain's name for a load) and finishes every change that a
// writer committed and did not live to finish, if it touches those keys
// (ZelKeyChainChange), so that the call finds each keychain as one whole
// store or erase left it. A change that also touches keys the call did not
// ask for is finished after the guard has taken those keys too (all locks
// again, in order). The locks are released when the guard goes.
#ifndef ZEL_KEY_CHAIN_GUARD_H
#define ZEL_KEY_CHAIN_GUARD_H

#include <set>
#include <string>

#include "HevoFileDescriptor.h"
#include "ZelKeyChainLocks.h"

class ZelKeyChainGuard {
 public:
  // ZelKeyChainGuard guards a call on the key-store directory |dir| that
  // touches the item files whose base names are |keys|. Where the
  // directory cannot be opened the guard holds nothing (the call then
  // fails on its own, as it would have).
  ZelKeyChainGuard(const std::string& dir, const std::set<std::string>& keys);
  ZelKeyChainGuard(const ZelKeyChainGuard&) = delete;
  ZelKeyChainGuard& operator=(const ZelKeyChainGuard&) = delete;

  // DirectoryFd is the open key-store directory, -1 if it could not be
  // opened. The guard owns it.
  int DirectoryFd() const { return dir_.Get(); }

 private:
  HevoFileDescriptor dir_;
  ZelKeyChainLocks locks_;
};

#endif  // ZEL_KEY_CHAIN_GUARD_H
