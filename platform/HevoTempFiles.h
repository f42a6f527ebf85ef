// HevoTempFiles.h: the temporary files that THevoBlob::Store writes before
// it renames them over their target. Internal to the base library.
//
// A temporary is alive while its writer holds an exclusive flock on it; the
// lock goes with the writer's open file, so it ends when the writer renames
// or removes the temporary, or dies. Liveness is judged by the lock alone,
// never by the process id in the name, which means nothing in another PID
// namespace that shares the directory.
#ifndef HEVO_TEMP_FILES_H
#define HEVO_TEMP_FILES_H

#include <string>

#include "HevoExport.h"

namespace HevoTempFiles {

// kPrefix starts the name of every temporary; listings skip such names, and
// the key store builds no item file name that starts with it.
constexpr const char kPrefix[] = ".hevo-tmp-";

// IsTemporaryName tells whether a bare file name is one of our temporaries.
// Inline, so that the key store applies the same test without an exported
// symbol.
inline bool IsTemporaryName(const std::string& name) {
  return name.compare(0, sizeof(kPrefix) - 1, kPrefix) == 0;
}

// IsWriterTemporaryName tells whether a bare name is the temporary of one
// writer (see NewTemporaryName): the prefix, then digits. The key store
// keeps other files of its own under the prefix (its lock file, the
// directories of unfinished changes), which are not a writer's temporary.
bool IsWriterTemporaryName(const char* name);

// NewTemporaryName returns a bare name that no other live process uses:
// the prefix, this process's id and a per-process counter. Its length does
// not depend on the target's name, so a long target never makes it too
// long.
std::string NewTemporaryName();

// CreateLocked creates a new temporary in the directory |dir_fd|, open for
// writing, locked, with mode 0600 whatever the umask; it sets |name| to its
// bare name and returns its descriptor (-1 on failure). The caller owns the
// descriptor; the lock lasts while it or a duplicate of it is open.
//
// Between creating and locking, another Store may take the new file for
// abandoned and remove it; CreateLocked notices (the name no longer leads
// to the file it locked) and starts again under a new name, so that the
// temporary it returns is locked and in place.
int CreateLocked(int dir_fd, std::string& name);

// RemoveAbandoned removes, from the directory |dir_fd|, the writers'
// temporaries whose writer no longer holds the lock (it was killed before
// it could rename or remove its temporary). Best effort: failures are
// ignored. Exported for the key store, which writes a keychain's items
// without THevoBlob::Store and cleans up after killed writers all the same.
HEVO_EXPORT void RemoveAbandoned(int dir_fd);

}  // namespace HevoTempFiles

#endif  // HEVO_TEMP_FILES_H
