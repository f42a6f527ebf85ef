// item_bytes_io.h: reading and writing an item's plain bytes outside the
// key store (the files given to `store`, the output of `get`).
//
// The bytes live in THevoBlobs, which wipe their allocation when destroyed;
// these functions wipe every other copy they make (a buffer outgrown while
// reading) before letting it go.
#ifndef ZEL_KEYCHAIN_ITEM_BYTES_IO_H
#define ZEL_KEYCHAIN_ITEM_BYTES_IO_H

#include <cstddef>
#include <string>

#include "THevoBlob.h"

// ReadWholeFile replaces |blob|'s bytes with the content of the file at
// |path|: a regular file, a pipe or a device such as /dev/stdin, read to
// its end. More than |limit| bytes are refused. False, with |error| saying
// why and |blob| emptied, when the file cannot be read whole.
bool ReadWholeFile(const std::string& path, size_t limit, THevoBlob& blob, std::string& error);

// WriteAll writes |blob|'s bytes to the descriptor |fd|; false, with errno
// set, on failure.
bool WriteAll(int fd, const THevoBlob& blob);

// WriteNewFile creates |path| with mode 0600 and writes |blob|'s bytes to
// it, durably (fsync). An existing file, or anything else at |path|, is
// refused and left alone. On failure the new file is removed and |error|
// says why.
bool WriteNewFile(const std::string& path, const THevoBlob& blob, std::string& error);

#endif  // ZEL_KEYCHAIN_ITEM_BYTES_IO_H
