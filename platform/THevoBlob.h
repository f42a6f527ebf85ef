// THevoBlob.h: the byte blob of the base library.
//
// A THevoBlob is a byte vector behind the container facade: its length is
// the vector's size, with no other framing. Code moves bytes between blobs by
// assigning one blob's vector from another's (GetContainer() = ...), so the
// destination keeps its identity and reuses its capacity.
#ifndef THEVO_BLOB_H
#define THEVO_BLOB_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "HevoContainer.h"
#include "HevoExport.h"

class HEVO_EXPORT THevoBlob
    : public HevoContainer::TContainerFacade<std::vector<uint8_t>> {
 public:
  // THevoBlob() is empty and allocates nothing.
  THevoBlob();

  // THevoBlob(text) holds the bytes of |text| in order, without a
  // terminating NUL.
  explicit THevoBlob(const std::string& text);

  // ~THevoBlob wipes the whole allocation (the spare capacity too) before
  // it is freed.
  ~THevoBlob() override;

  // ToString returns the bytes as one printable line: printable ASCII as it
  // is, backslash as "\\", newline, carriage return and tab as "\n", "\r",
  // "\t", every other byte as "\xHH".
  std::string ToString() const;

  // Load replaces the bytes with the whole content of the regular file at
  // |path| and returns true. An empty file gives an empty blob. On failure
  // it returns false and the blob keeps its bytes. Load never blocks and
  // never throws: it opens without blocking and reads only a regular file,
  // refusing a missing or unreadable file, a symbolic link, a FIFO, a
  // directory or a device; a file longer than |maxSize| bytes (4 GiB - 1 for
  // the first overload) or than memory allows; and a file whose length
  // changes while it is read. The bytes read are wiped when refused.
  bool Load(const std::string& path);
  bool Load(const std::string& path, size_t maxSize);

  // Store writes the bytes as the whole content of the file at |path| and
  // returns true once they are durable.
  //
  // The file is replaced crash-safely: the bytes go to a temporary file in
  // the same directory, which is synced and then renamed over |path|, and the
  // directory is synced. The file gets mode 0600, whatever the umask, also
  // when it replaces a file of another mode, so a credential is never left
  // readable by others. Readers, and a crash at any point, see either the
  // old or the new content, never a mix. On any failure Store returns false, removes
  // its temporary and leaves an existing file as it was (a failure of the
  // final directory sync leaves the new content in place but still reports
  // false, as its durability is not known).
  //
  // WARNING: the temporary's name begins with ".hevo-tmp-"; directory
  // listings through HevoFileUtils::GetFiles never show such names, and a
  // temporary whose writer no longer holds its lock (a killed process's) is
  // removed by the next Store into the same directory, in whatever PID
  // namespace it runs. Callers must not store files of their own under
  // that prefix. Concurrent Store calls to the same path must be serialised
  // by the caller.
  bool Store(const std::string& path) const;
};

#endif  // THEVO_BLOB_H
