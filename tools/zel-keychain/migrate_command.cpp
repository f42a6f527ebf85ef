// migrate_command.cpp: zel-keychain migrate.
//
// Rewrites every unbound item file of the key store as a file bound to this
// device (TZelDeviceBinding::MigrateUnboundItems), once, on purpose: a
// bound key store never takes an unbound file on its own. Only a build with
// a device binding can; elsewhere the command says so and fails.
#include "commands.h"
#include "report.h"

#ifdef ZEL_KEYCHAIN_BOUND
#include "ZelDeviceBinding.h"

int RunMigrate(const Invocation&) {
  TZelMigrationCounts counts;
  const bool done = TZelDeviceBinding::MigrateUnboundItems(counts);
  Say("migrated " + std::to_string(counts.migrated) + " item files to the binding " +
      TZelDeviceBinding::GetMode() + "; " + std::to_string(counts.alreadyBound) +
      " were bound already, " + std::to_string(counts.failed) + " failed");
  if (!done || counts.failed != 0)
    return Fail("some item files were left as they were: see the messages above");
  return kExitOk;
}
#else
int RunMigrate(const Invocation&) {
  return Fail("this build of the key store binds its files to no device: nothing to migrate");
}
#endif
