// ZelKeyChainChange.h: the item files that one StoreKeyChain or
// EraseKeyChain changes, committed at once, so that a crash leaves either
// all of them as they were or all of them changed. Internal to the key
// store.
//
// A change is a directory in the key-store directory, under the prefix of
// the base library's temporaries (never listed, never loaded):
//
//   .hevo-tmp-new-PID-N   being prepared. It holds the new item files of a
//                         store, or an empty file for each item file that
//                         an erase removes, each under the item file's
//                         name. Its writer may still give it up: a crash
//                         leaves the key store as it was, and the
//                         directory is removed by a later call.
//   .hevo-tmp-put-PID-N   committed: each of its files replaces the item
//   .hevo-tmp-del-PID-N   file of its name, or the item file of its name
//                         is removed.
//
// The commit point is the rename of the prepared directory to its committed
// name, made durable by a sync of the key-store directory (the prepared
// files were synced before). Finishing a committed change, moving its files
// into place or removing the item files it names, can be done again after a
// crash part way with the same outcome: the writer does it right after the
// commit, or the first key-store call that finds the change after the
// writer died (ZelKeyChainGuard) does it, before it reads or writes the
// keychain.
//
// A writer holds an flock on its change directory from its creation until
// it is gone; a change whose flock is free belongs to a writer that died.
// The caller holds the keychain's locks (ZelKeyChainLocks) throughout.
#ifndef ZEL_KEY_CHAIN_CHANGE_H
#define ZEL_KEY_CHAIN_CHANGE_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "HevoFileDescriptor.h"

class ZelKeyChainChange {
 public:
  enum class Kind { kStore, kErase };

  // ZelKeyChainChange prepares a change of |kind| in the key-store
  // directory |dir_fd| (not owned). Nothing is made on disk yet.
  ZelKeyChainChange(int dir_fd, Kind kind);
  // ~ZelKeyChainChange removes what was prepared and not committed.
  ~ZelKeyChainChange();
  ZelKeyChainChange(const ZelKeyChainChange&) = delete;
  ZelKeyChainChange& operator=(const ZelKeyChainChange&) = delete;

  // Open makes the directory of the change; false where it cannot be made
  // (a read-only or full file system), and the caller then changes the
  // item files one by one.
  bool Open();

  // Put prepares |size| bytes at |data| as the new content of the item file
  // |name| (a store). On a full file system it first commits what it holds
  // (the files it replaces give their space back) and tries once more.
  // False when the file could not be prepared.
  bool Put(const std::string& name, const uint8_t* data, size_t size);

  // Remove prepares the removal of the item file |name| (an erase).
  bool Remove(const std::string& name);

  // Commit commits and finishes what was prepared. Returns the names of
  // the item files that were prepared (since the change was made) but not
  // changed, or whose change could not be made durable. Put and Remove may
  // be called again afterwards, for another commit.
  std::set<std::string> Commit();

 private:
  bool CommitPrepared();
  void RemovePrepared();

  int dir_fd_;
  Kind kind_;
  HevoFileDescriptor prepared_;  // the open change directory, flock held
  std::string prepared_name_;
  std::vector<std::string> names_;  // prepared, not yet committed
  std::set<std::string> failed_;
};

namespace ZelKeyChainChanges {

// Abandoned is a committed change whose writer died, and the lock keys of
// the item files it changes.
struct Abandoned {
  std::string name;
  std::set<std::string> keys;
};

// FindAbandoned returns the committed changes in |dir_fd| whose writer
// died and that still have work left. On the way it removes the prepared
// changes of dead writers (never committed, so nothing of them is
// visible) and committed ones with nothing left to do.
std::vector<Abandoned> FindAbandoned(int dir_fd);

// Finish finishes the committed change |name| in |dir_fd|, which the
// caller found abandoned and whose item files' locks it holds.
void Finish(int dir_fd, const std::string& name);

}  // namespace ZelKeyChainChanges

#endif  // ZEL_KEY_CHAIN_CHANGE_H
