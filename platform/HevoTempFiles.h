// HevoTempFiles.h: naming of the temporary files that THevoBlob::Store
// writes before it renames them over their target. Internal to the base
// library.
#ifndef HEVO_TEMP_FILES_H
#define HEVO_TEMP_FILES_H

#include <string>

namespace HevoTempFiles {

// kPrefix starts the name of every temporary; listings skip such names.
constexpr const char kPrefix[] = ".hevo-tmp-";

// IsTemporaryName tells whether a bare file name is one of our temporaries.
bool IsTemporaryName(const std::string& name);

// NewTemporaryName returns a bare name that no other live process uses:
// the prefix, this process's id and a per-process counter. Its length does
// not depend on the target's name, so a long target never makes it too
// long.
std::string NewTemporaryName();

// RemoveAbandoned removes, from the directory |dir|, the temporaries whose
// writing process no longer exists (it was killed before it could rename or
// remove its temporary). Best effort: failures are ignored.
void RemoveAbandoned(const std::string& dir);

}  // namespace HevoTempFiles

#endif  // HEVO_TEMP_FILES_H
