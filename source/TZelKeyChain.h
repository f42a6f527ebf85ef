// TZelKeyChain.h: a named, ordered set of credential items.
//
// A keychain maps item ids to byte blobs, ordered by id byte by byte. The
// key store writes each item to its own file, named by the keychain's name
// followed by the item id, and reads them back into a keychain of the same
// name. Every item goes in and out as a copy of its bytes: the keychain
// never shares a blob with its caller, and wipes every byte it lets go of
// (a replaced or removed item, the old content of an output blob).
//
// Every operation but Print writes a trace line (level 6) through
// zelLogging_log before it acts. A keychain is not thread-safe.
#ifndef TZEL_KEY_CHAIN_H
#define TZEL_KEY_CHAIN_H

#include <map>
#include <string>

#include "HevoContainer.h"
#include "THevoBlob.h"
#include "ZelExport.h"

class ZEL_EXPORT TZelKeyChain
    : public HevoContainer::TContainerFacade<std::map<std::string, THevoBlob>> {
 public:
  // The standard item ids, which are also the suffixes of the item files.
  // The transposed letters of ITEM_TYPE_CERT_AUTHOTIRY are part of the
  // interface.
  static const char* ITEM_TYPE_PUBLIC_KEY;      // ".pem.enc"
  static const char* ITEM_TYPE_PRIVATE_KEY;     // ".key.enc"
  static const char* ITEM_TYPE_CERT_AUTHOTIRY;  // ".ca.crt.enc"
  static const char* ITEM_TYPE_CERT;            // ".crt.enc"

  // TZelKeyChain creates an empty keychain called |name|. Any name is
  // accepted, the empty one too.
  explicit TZelKeyChain(const std::string& name);
  ~TZelKeyChain() override;

  // GetName returns the name given at construction.
  const std::string& GetName() const { return name_; }

  // Print writes each item, in id order, to standard output as two lines:
  // "TZelKeyChain Item Id: " and the id, then the blob's ToString().
  void Print() const;

  // SetItem stores a copy of the bytes under |id|, replacing what the id
  // held. The rvalue overload copies too: |item| keeps its bytes.
  void SetItem(const std::string& id, const THevoBlob& item);
  void SetItem(const std::string& id, THevoBlob&& item);
  // SetItem stores the bytes of |value| (no terminator) under |id|.
  void SetItem(const std::string& id, const std::string& value);

  // GetItem copies the bytes stored under |id| into |item|. When |id| is
  // absent it logs an error and empties |item| (its capacity is kept), so a
  // missing item and an empty one look alike to the caller.
  void GetItem(const std::string& id, THevoBlob& item) const;

  // RemoveItem erases the item under |id|. An absent id changes nothing
  // (only the trace line is written).
  void RemoveItem(const std::string& id);

 private:
  // CopyInto replaces the bytes stored under |id| with |bytes|, inserting an
  // empty item first when |id| is new.
  void CopyInto(const std::string& id, const std::vector<uint8_t>& bytes);

  std::string name_;
};

#endif  // TZEL_KEY_CHAIN_H
