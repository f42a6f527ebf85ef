// HevoFileUtils.h: file-system helpers of the base library.
//
// Paths are byte strings, used as they are: nothing is normalised.
#ifndef HEVO_FILE_UTILS_H
#define HEVO_FILE_UTILS_H

#include <set>
#include <string>

#include "HevoExport.h"

namespace HevoFileUtils {

// Exists tells whether anything (file, directory, link, even a dangling
// one) exists at |path|.
HEVO_EXPORT bool Exists(const std::string& path);

// CreateDirectoryRecursive creates |path| and each missing parent with the
// permission bits |mode| (less the process's umask), and syncs the parent
// of each directory it creates, so that the new directories survive a
// power loss. True when the directory exists afterwards; false too when a
// directory was created but its parent could not be synced.
HEVO_EXPORT bool CreateDirectoryRecursive(const std::string& path,
                                          unsigned int mode);

// GetFiles adds to |names| the bare names of the regular files in |dir|,
// hidden ones included. Sub-directories, links and other special files are
// left out, and so are the temporaries of THevoBlob::Store. Returns false,
// leaving |names| unchanged, if the directory cannot be listed.
HEVO_EXPORT bool GetFiles(const std::string& dir, std::set<std::string>& names);

// GetFileBaseName returns |name| up to, not including, its first "." (the
// whole name if it has none; an empty string if it starts with ".").
HEVO_EXPORT std::string GetFileBaseName(const std::string& name);

// Remove removes the file at |path| and syncs its directory; true when the
// file was removed.
HEVO_EXPORT bool Remove(const std::string& path);

}  // namespace HevoFileUtils

#endif  // HEVO_FILE_UTILS_H
