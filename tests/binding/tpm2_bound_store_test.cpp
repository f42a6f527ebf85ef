// A tpm2 or tpm2+host library through its public API, on swtpm: the same
// TPM reads every item again after a restart; another TPM, or this one
// cleared, refuses every item with the binding's line and leaves the files;
// with the TPM unreachable a store fails and loses nothing, and the same
// key store works once the TPM is back.
//
// The library reads the TPM's value once per process, so each device
// "boots" as a child process of the test, which reports through its exit
// status (0: as expected).
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <set>

#include "TZelKeyStore.h"
#include "ZelDeviceBinding.h"
#include "log_capture.h"
#include "sample_keychain.h"
#include "swtpm_fixture.h"
#include "temp_dir.h"

namespace {

// Boot runs |device| in a child process with a key store on |root| and the
// TPM |tcti|; true when it returned true.
bool Boot(const std::string& root, const std::string& tcti,
          const std::function<bool(TZelKeyStore&)>& device) {
  const pid_t pid = fork();
  if (pid == 0) {
    setenv("HEVO_PERSISTENT_STORAGE", root.c_str(), 1);
    setenv("ZEL_HOST_SECRET", (root + "/host.secret").c_str(), 1);
    setenv("ZEL_TPM2_TCTI", tcti.c_str(), 1);
    TZelKeyStore store;
    _exit(device(store) ? 0 : 1);
  }
  int status = -1;
  waitpid(pid, &status, 0);
  return status == 0;
}

ItemBytes Load(TZelKeyStore& store) {
  TZelKeyChain chain("dev");
  store.LoadKeyChain(chain);
  return ItemsOf(chain);
}

bool StoreSample(TZelKeyStore& store, SampleVersion version) {
  TZelKeyChain chain("dev");
  FillKeyChain(chain, SampleItems(version));
  return store.StoreKeyChain(chain);
}

// Refused: the load gets no item, and the binding names each file as one
// of another device.
bool Refused(TZelKeyStore& store) {
  TakeLogRecords();
  const bool empty = Load(store).empty();
  std::set<std::string> named;
  for (const LogRecord& r : TakeLogRecords())
    if (r.format.find("belongs to another device") != std::string::npos) named.insert(r.text);
  return empty && named.size() == 4;
}

TEST(Tpm2BoundStore, OnlyTheSameTpmReadsTheItemsAndNothingIsLost) {
  if (!Swtpm::Missing().empty()) GTEST_SKIP() << Swtpm::Missing() << " not installed";
  ASSERT_STREQ(TZelDeviceBinding::GetMode(), ZEL_TEST_BINDING_MODE);
  TempDir root;
  Swtpm device, other;
  ASSERT_TRUE(device.Start());
  const ItemBytes old_items = SampleItems(SampleVersion::kOld);
  ASSERT_TRUE(Boot(root.path(), device.Tcti(), [](TZelKeyStore& s) {
    return StoreSample(s, SampleVersion::kOld);
  }));
  const std::string dir = root / "zel_keystore";
  const auto files = [&dir] {
    std::map<std::string, std::string> bytes;
    for (const std::string& name : ListDir(dir)) bytes[name] = ReadFile(dir + "/" + name);
    return bytes;
  };
  const auto stored = files();

  device.Stop();  // a reboot: the same TPM state
  ASSERT_TRUE(device.Start());
  EXPECT_TRUE(Boot(root.path(), device.Tcti(), [&](TZelKeyStore& s) { return Load(s) == old_items; }));

  ASSERT_TRUE(other.Start());  // the files copied to another device
  EXPECT_TRUE(Boot(root.path(), other.Tcti(), Refused));
  EXPECT_TRUE(files() == stored);

  // Unreachable, then back: the store fails, then the same key store
  // stores and loads; nothing was lost meanwhile.
  EXPECT_TRUE(Boot(root.path(), root / "none", [&](TZelKeyStore& s) {
    if (StoreSample(s, SampleVersion::kNew)) return false;
    setenv("ZEL_TPM2_TCTI", device.Tcti().c_str(), 1);
    return Load(s) == old_items && StoreSample(s, SampleVersion::kNew) &&
           Load(s) == SampleItems(SampleVersion::kNew);
  }));
  ASSERT_TRUE(Boot(root.path(), device.Tcti(), [](TZelKeyStore& s) {
    return StoreSample(s, SampleVersion::kOld);
  }));
  const auto restored = files();
  EXPECT_EQ(restored.size(), 4u);

  // The owner hierarchy cleared (a new owner seed): refused, files kept.
  EXPECT_EQ(device.Tool("tpm2_clear").find("<failed"), std::string::npos);
  EXPECT_TRUE(Boot(root.path(), device.Tcti(), Refused));
  EXPECT_TRUE(files() == restored);
}

}  // namespace
