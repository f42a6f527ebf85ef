// ZelDeviceBinding.h: the device binding of this build, and the explicit
// migration of a key store written by an unbound build. Installed only by
// bound builds (ZEL_DEVICE_BINDING host, tpm2 or tpm2+host).
//
// A bound build seals every item file to this device; it refuses an
// unbound item file (one that an unbound build wrote, or that someone put
// there) on every load, and never binds one by itself. A product moving
// from an unbound firmware to a bound one calls MigrateUnboundItems once,
// on purpose, to rewrite its unbound item files as bound ones.
#ifndef ZEL_DEVICE_BINDING_H
#define ZEL_DEVICE_BINDING_H

#include "ZelExport.h"

// TZelMigrationCounts says what a migration found, per item file.
struct TZelMigrationCounts {
  unsigned migrated = 0;      // unbound, now rewritten bound
  unsigned alreadyBound = 0;  // bound to this device already, left alone
  unsigned failed = 0;        // left as they were: see the log
};

class ZEL_EXPORT TZelDeviceBinding {
 public:
  // GetMode returns the binding of this build: "host", "tpm2" or
  // "tpm2+host".
  static const char* GetMode();

  // MigrateUnboundItems goes through every item file of the key store's
  // directory (the one TZelKeyStore uses) and rewrites each unbound file
  // that this build's key material decrypts as a file bound to this device,
  // crash-safely (temporary file, sync, rename, directory sync): a crash
  // leaves each file whole, unbound or bound. Files bound to this device
  // already are left alone. A file that cannot be read or migrated (bound
  // to another device, damaged, or the device value unavailable) is left
  // as it was, counted as failed and logged (level 2); a malformed file
  // does not throw here. The first migrated file creates the host secret
  // when the mode uses one and it is missing.
  //
  // True when no file failed. |counts| is set in every case.
  //
  // WARNING: a migration binds whatever unbound file of this key material
  // it finds, also one that someone else put there: run it once, when the
  // firmware changes from unbound to bound, not on every start.
  static bool MigrateUnboundItems(TZelMigrationCounts& counts);
};

#endif  // ZEL_DEVICE_BINDING_H
