// A tpm2 or tpm2+host library on a device whose TPM does not answer (no
// libtss2, or no TPM behind the TCTI): every store returns false with the
// binding's line, and writes nothing, not even a host secret.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <memory>

#include "TZelKeyStore.h"
#include "ZelDeviceBinding.h"
#include "log_capture.h"
#include "sample_keychain.h"
#include "temp_dir.h"

namespace {

TEST(TpmUnreachable, StoresAreRefusedAndNothingIsWritten) {
  EXPECT_STREQ(TZelDeviceBinding::GetMode(), ZEL_TEST_BINDING_MODE);
  TempDir dir;
  setenv("HEVO_PERSISTENT_STORAGE", dir.path().c_str(), 1);
  setenv("ZEL_HOST_SECRET", (dir / "secret/host.secret").c_str(), 1);
  setenv("ZEL_TPM2_TCTI", ("swtpm:path=" + dir / "no-tpm.sock").c_str(), 1);
  TZelKeyStore store;
  TZelKeyChain chain("dev");
  FillKeyChain(chain, SampleItems(SampleVersion::kOld));
  TakeLogRecords();
  EXPECT_FALSE(store.StoreKeyChain(chain));
  size_t lines = 0;
  for (const LogRecord& record : TakeLogRecords()) {
    if (record.format.find("[ZelDeviceBinding]") == std::string::npos) continue;
    ++lines;
    EXPECT_EQ(record.format, "[ZelDeviceBinding] Can't store '%s' bound to this device: %s.");
    EXPECT_EQ(record.text.find("[ZelDeviceBinding] Can't store 'dev."), 0u) << record.text;
  }
  EXPECT_EQ(lines, 4u);
  EXPECT_EQ(ListDir(dir.path()), (std::set<std::string>{"zel_keystore"}));
  EXPECT_TRUE(ListDir(dir / "zel_keystore").empty());
  TZelMigrationCounts counts;
  EXPECT_TRUE(TZelDeviceBinding::MigrateUnboundItems(counts));  // nothing to migrate
}

}  // namespace
