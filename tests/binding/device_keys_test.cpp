// The key material of each mode from its sources: the TPM first and alone
// for tpm2, the host secret for host, both for tpm2+host; read once, read
// again when the setting changes, never kept when it failed.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstring>

#include "binding_test_util.h"
#include "device_keys.h"
#include "temp_dir.h"

namespace {

using zel_binding::DeviceKeys;
using zel_binding::DeviceValue;
using zel_binding::KeyMaterial;
using zel_binding::Mode;
using zel_binding::SourceResult;
using zel_binding::SourceStatus;

// A TPM that answers 32 bytes of 0x7e, or fails while |g_tpm_down|.
int g_tpm_reads = 0;
bool g_tpm_down = false;
std::string g_tcti = "swtpm:path=one", g_host_path;

SourceResult FakeTpm(DeviceValue& out) {
  ++g_tpm_reads;
  if (g_tpm_down) return {SourceStatus::kDeviceAbsent, "no TPM answers"};
  std::memset(out.data(), 0x7e, DeviceValue::kSize);
  return {SourceStatus::kOk, ""};
}

const zel_binding::DeviceSources kFakes = {FakeTpm, [] { return g_tcti; },
                                           [] { return g_host_path; }};

Bytes Get(DeviceKeys& keys, bool for_store, SourceStatus expected = SourceStatus::kOk) {
  KeyMaterial material;
  const SourceResult result = keys.Get(Crypto(), for_store, material);
  EXPECT_EQ(result.status, expected) << result.reason;
  return Bytes(material.bytes, material.bytes + material.size);
}

class DeviceKeysTest : public ::testing::Test {
 protected:
  void SetUp() override {
    g_tpm_reads = 0;
    g_tpm_down = false;
    g_host_path = dir_ / "host.secret";
  }
  TempDir dir_;
};

TEST_F(DeviceKeysTest, EachModeTakesItsSourcesInOrder) {
  DeviceKeys tpm2(Mode::kTpm2, kFakes), host(Mode::kHost, kFakes), both(Mode::kTpm2Host, kFakes);
  EXPECT_EQ(Get(tpm2, true), Bytes(32, 0x7e));
  EXPECT_EQ(ListDir(dir_.path()), std::set<std::string>{});  // tpm2 needs no host secret
  const Bytes host_value = Get(host, true);
  ASSERT_EQ(host_value.size(), 32u);
  Bytes expected(64, 0x7e);  // the TPM's value, then the host's
  std::copy(host_value.begin(), host_value.end(), expected.begin() + 32);
  EXPECT_EQ(Get(both, false), expected);
}

TEST_F(DeviceKeysTest, ReadOnceAgainOnANewSettingNeverAfterAFailure) {
  DeviceKeys both(Mode::kTpm2Host, kFakes);
  g_tpm_down = true;
  EXPECT_TRUE(Get(both, true, SourceStatus::kDeviceAbsent).empty());
  // The TPM failed first: no host secret was created for nothing.
  EXPECT_EQ(ListDir(dir_.path()), std::set<std::string>{});
  g_tpm_down = false;  // the TPM is back: the same object works
  const Bytes first = Get(both, true);
  EXPECT_EQ(first.size(), 64u);
  EXPECT_EQ(Get(both, false), first);
  EXPECT_EQ(g_tpm_reads, 2);
  g_tcti = "swtpm:path=two";  // another setting, another read
  EXPECT_EQ(Get(both, false), first);
  EXPECT_EQ(g_tpm_reads, 3);
  g_host_path = dir_ / "other.secret";  // a load never creates it
  EXPECT_TRUE(Get(both, false, SourceStatus::kDeviceAbsent).empty());
}

}  // namespace
