// host_secret.h: the host secret, a root-only file of random bytes that
// binds item files to this host (binding modes host and tpm2+host).
//
// The file is /var/lib/zel_secure_store/host.secret, or the absolute path
// in $ZEL_HOST_SECRET when that is set. It holds 48 bytes:
//
//   offset  size  field
//   0       7     magic "ZELHOST"
//   7       1     format version, 1
//   8       32    the secret: 32 bytes from libcrypto's generator
//   40      8     check: the first 8 bytes of HKDF-SHA256 of the secret
//                 under the salt "zel_secure_store host secret check"
//
// A file is used only when it is a regular file (not a symbolic link),
// with one link, mode 0400, owned by the process's effective user, 48
// bytes long, with the magic, version and check above. Anything else is
// refused: nothing is deleted, nothing re-created, and the reason comes
// back for the log. The check tells a damaged secret from a replaced one.
#ifndef ZEL_BINDING_HOST_SECRET_H
#define ZEL_BINDING_HOST_SECRET_H

#include <cstddef>
#include <string>

#include "device_value.h"
#include "libcrypto.h"

namespace zel_binding {

constexpr char kDefaultHostSecretPath[] = "/var/lib/zel_secure_store/host.secret";
constexpr char kHostSecretVariable[] = "ZEL_HOST_SECRET";
constexpr size_t kHostSecretFileSize = 48;

// HostSecretPath returns $ZEL_HOST_SECRET when it is set and not empty,
// else kDefaultHostSecretPath.
std::string HostSecretPath();

// ReadHostSecret puts the secret of the file at |path| into |out|.
//
// When the file does not exist and |create| is set (a store), it creates
// it first: the directory with mode 0700 if it is missing (its parent
// synced), the file as a temporary of mode 0400 in that directory, written
// and synced, renamed into place only if no file took the name meanwhile
// (RENAME_NOREPLACE), and the directory synced, all before ReadHostSecret
// returns. So no item is ever written before its secret is durable, and a
// crash leaves either no secret or a whole one. A load (|create| unset)
// never creates it: a missing file is kDeviceAbsent.
//
// Results: kOk; kDeviceAbsent (missing, load); kRefused (the file breaks a
// rule of the header comment, or the path is not absolute); kFailed (a
// system call or libcrypto failed). |out| is wiped unless kOk.
SourceResult ReadHostSecret(const Libcrypto& crypto, const std::string& path, bool create,
                            DeviceValue& out);

}  // namespace zel_binding

#endif  // ZEL_BINDING_HOST_SECRET_H
