// TZelDeviceBinding.cpp: see ZelDeviceBinding.h. Compiled into bound
// builds only.
#include <set>
#include <string>

#include "HevoFileUtils.h"
#include "PKIWB_encrypt.h"
#include "THevoDeviceInfo.h"
#include "TZelKeyStore.h"
#include "TZelSecureStore.h"
#include "ZelDeviceBinding.h"
#include "ZelKeyChainGuard.h"
#include "item_context.h"
#include "sealed_item.h"
#include "zelLogging.h"

namespace {

constexpr int kLevelError = 2;
constexpr int kLevelTrace = 6;

// KeyStoreDirectory is the directory that TZelKeyStore uses.
std::string KeyStoreDirectory() {
  std::string path;
  if (!THevoDeviceInfo::GetInstance().GetInfo(THevoDeviceInfo::PERSISTENT_STORAGE, path))
    return TZelKeyStore::ROOT_PATH_DEFAULT;
  return path + "/" + TZelKeyStore::ROOT_PATH_DEFAULT;
}

enum class Outcome { kMigrated, kAlreadyBound, kFailed };

Outcome MigrateFile(TZelSecureStore& store, const std::string& path) {
  THevoBlob item;
  if (!item.Load(path, PKIWB_encrypt::get_padded_payload_size(TZelSecureStore::MAX_ITEM_SIZE))) {
    zelLogging_log(kLevelError, "[TZelDeviceBinding] Can't migrate '%s': it cannot be read.",
                   path.c_str());
    return Outcome::kFailed;
  }
  ZelItemContext context(path, ZelItemContext::kAcceptUnbound);
  bool opened;
  try {
    opened = store.Decrypt(item, item);
  } catch (const char* message) {
    zelLogging_log(kLevelError, "[TZelDeviceBinding] Can't migrate '%s': %s", path.c_str(),
                   message);
    return Outcome::kFailed;
  }
  if (!opened) {
    zelLogging_log(kLevelError, "[TZelDeviceBinding] Can't migrate '%s': it does not open.",
                   path.c_str());
    return Outcome::kFailed;
  }
  if (!context.FoundUnbound()) return Outcome::kAlreadyBound;
  if (!store.Store(path, item)) {
    zelLogging_log(kLevelError,
                   "[TZelDeviceBinding] Can't migrate '%s': it cannot be stored bound.",
                   path.c_str());
    return Outcome::kFailed;
  }
  return Outcome::kMigrated;
}

}  // namespace

const char* TZelDeviceBinding::GetMode() {
  return zel_binding::ModeName(static_cast<zel_binding::Mode>(ZEL_DEVICE_BINDING_MODE));
}

bool TZelDeviceBinding::MigrateUnboundItems(TZelMigrationCounts& counts) {
  counts = TZelMigrationCounts();
  TZelSecureStore& store = TZelSecureStore::GetInstance();
  const std::string dir = KeyStoreDirectory();
  zelLogging_log(kLevelTrace, "[%s:%d][%s]: [TZelDeviceBinding] Migrate unbound items in '%s'",
                 __FILE__, __LINE__, __func__, dir.c_str());
  // No key store yet: nothing to migrate.
  if (!HevoFileUtils::Exists(dir)) return true;
  std::set<std::string> files;
  if (!HevoFileUtils::GetFiles(dir, files)) {
    zelLogging_log(kLevelError, "[TZelDeviceBinding] Can't list the key store '%s'.", dir.c_str());
    ++counts.failed;
    return false;
  }
  for (const std::string& file : files) {
    // Locked as the key store locks the keychain of the file, which also
    // finishes a change that a dead writer left.
    const ZelKeyChainGuard guard(dir, {HevoFileUtils::GetFileBaseName(file)});
    switch (MigrateFile(store, dir + "/" + file)) {
      case Outcome::kMigrated: ++counts.migrated; break;
      case Outcome::kAlreadyBound: ++counts.alreadyBound; break;
      case Outcome::kFailed: ++counts.failed; break;
    }
  }
  return counts.failed == 0;
}
