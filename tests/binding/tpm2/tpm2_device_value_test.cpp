// The TPM 2.0 device value against swtpm: stable for one TPM, different
// for another TPM or after TPM2_Clear, equal to what tpm2-tools computes
// from the same key template, and nothing left in the TPM after any call.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <vector>

#include "binding/tpm2/tpm2_device_value.h"
#include "binding/tpm2/tss2_library.h"
#include "swtpm_fixture.h"

namespace {

using zel_binding::DeviceValue;
using zel_binding::ReadTpm2DeviceValue;
using zel_binding::SourceResult;
using zel_binding::SourceStatus;

// Reading: a value read from the TPM ZEL_TPM2_TCTI names, as hex.
struct Reading {
  SourceStatus status;
  std::string reason;
  std::string hex;
};

// Hex: |size| bytes in lower-case hex, as tpm2-tools prints them.
std::string Hex(const void* data, size_t size) {
  std::string hex;
  char byte[3];
  for (size_t i = 0; i < size; ++i) {
    std::snprintf(byte, sizeof(byte), "%02x", static_cast<const uint8_t*>(data)[i]);
    hex += byte;
  }
  return hex;
}

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), ::toupper);
  return text;
}

Reading Read() {
  DeviceValue value;
  const SourceResult result = ReadTpm2DeviceValue(value);
  return {result.status, result.reason, Hex(value.data(), DeviceValue::kSize)};
}

bool Tss2Installed() {
  void* esys = dlopen(zel_binding::kTss2LibraryNames.esys, RTLD_NOW | RTLD_LOCAL);
  if (esys != nullptr) dlclose(esys);
  return esys != nullptr;
}

const std::string kZeros(2 * DeviceValue::kSize, '0');
const std::string kLabel = "zel_secure_store device value v1";

class Tpm2DeviceValueTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // CI installs libtss2 for x86_64; the i386 build may have none.
    if (!Tss2Installed()) {
      if (sizeof(void*) == 8) FAIL() << "libtss2-esys.so.0 missing: run scripts/install-deps.sh";
      GTEST_SKIP() << "no libtss2 for this architecture";
    }
    if (!Swtpm::Missing().empty())
      GTEST_SKIP() << Swtpm::Missing() << " not installed (scripts/install-deps.sh installs it)";
  }

  // ReadValue reads |tpm|'s value, expects kOk and a TPM that holds nothing.
  std::string ReadValue(const Swtpm& tpm) {
    const Reading reading = Read();
    EXPECT_EQ(reading.status, SourceStatus::kOk) << reading.reason;
    EXPECT_NE(reading.hex, kZeros);
    EXPECT_EQ(tpm.HeldHandles(), "");
    return reading.hex;
  }
};

TEST_F(Tpm2DeviceValueTest, SameTpmGivesSameValueAcrossRestarts) {
  Swtpm tpm;
  ASSERT_TRUE(tpm.Start());
  const std::string value = ReadValue(tpm);
  EXPECT_EQ(ReadValue(tpm), value);
  // The time of one read, printed (not checked).
  std::vector<double> milliseconds;
  for (int i = 0; i < 5; ++i) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Read().hex, value);
    milliseconds.push_back(
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count());
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  std::printf("ReadTpm2DeviceValue against swtpm: %.1f ms (median of 5)\n", milliseconds[2]);
  tpm.Stop();
  ASSERT_TRUE(tpm.Start());
  EXPECT_EQ(ReadValue(tpm), value);
}

TEST_F(Tpm2DeviceValueTest, ValueIsTheHmacOfTheLabelByTheDeviceKey) {
  // tpm2-tools creates the key from the same template and signs the label.
  Swtpm tpm;
  ASSERT_TRUE(tpm.Start());
  // Spelled out: they fix every device's value and must never change.
  std::ofstream(tpm.dir() + "/unique") << "zel_secure_store tpm2 device key";
  std::ofstream(tpm.dir() + "/label") << kLabel;
  tpm.Tool("tpm2_createprimary",
           "-C o -G hmac -g sha256 -a 'fixedtpm|fixedparent|sensitivedataorigin|userwithauth|"
           "sign|noda' -u - -c " +
               tpm.dir() + "/key.ctx < " + tpm.dir() + "/unique");
  const std::string expected =
      tpm.Tool("tpm2_hmac", "-c " + tpm.dir() + "/key.ctx -g sha256 --hex " + tpm.dir() + "/label");
  tpm.Tool("tpm2_flushcontext", "-t");
  EXPECT_EQ(ReadValue(tpm), expected);
}

TEST_F(Tpm2DeviceValueTest, ValueCrossesTheBusEncryptedUnderASaltedSession) {
  Swtpm tpm;
  ASSERT_TRUE(tpm.Start());
  const std::string value = Upper(ReadValue(tpm));
  bool label_seen = false, salted = false;
  for (const std::string& message : tpm.Messages()) {
    EXPECT_EQ(message.find(value.substr(0, 16)), std::string::npos) << message;
    // The label goes in clear: the log holds the traffic.
    label_seen |= message.find(Upper(Hex(kLabel.data(), kLabel.size()))) != std::string::npos;
    // TPM2_StartAuthSession (0x176): tag, size, code, tpmKey, bind,
    // nonceCaller, encryptedSalt. Salted: a key, and a salt encrypted to it.
    if (message.size() > 40 && message.compare(12, 8, "00000176") == 0) {
      const size_t nonce_size = std::stoul(message.substr(36, 4), nullptr, 16);
      salted = message.compare(20, 8, "40000007") != 0 &&
               message.compare(40 + 2 * nonce_size, 4, "0000") != 0;
    }
  }
  EXPECT_TRUE(label_seen);
  EXPECT_TRUE(salted);
}

TEST_F(Tpm2DeviceValueTest, AnotherTpmOrAClearedOneGivesAnotherValue) {
  Swtpm tpm, other_tpm;
  ASSERT_TRUE(tpm.Start());
  const std::string value = ReadValue(tpm);
  tpm.Stop();
  ASSERT_TRUE(other_tpm.Start());
  EXPECT_NE(ReadValue(other_tpm), value);
  other_tpm.Stop();
  ASSERT_TRUE(tpm.Start());
  ASSERT_EQ(tpm.Tool("tpm2_clear"), "");
  const std::string cleared = ReadValue(tpm);
  EXPECT_NE(cleared, value);
  EXPECT_EQ(ReadValue(tpm), cleared);
}

TEST_F(Tpm2DeviceValueTest, OwnerAuthorizationIsRefused) {
  Swtpm tpm;
  ASSERT_TRUE(tpm.Start());
  ASSERT_EQ(tpm.Tool("tpm2_changeauth", "-c owner owner-secret"), "");
  const Reading reading = Read();
  EXPECT_EQ(reading.status, SourceStatus::kRefused);
  EXPECT_EQ(reading.reason,
            "TPM2_CreatePrimary (salt key) failed: the owner hierarchy has an authorization value "
            "(the device value needs it empty) (0x9a2)");
  EXPECT_EQ(reading.hex, kZeros);
  EXPECT_EQ(tpm.HeldHandles(), "");
}

TEST_F(Tpm2DeviceValueTest, UnreachableTpmOrTransportIsReportedAtOnce) {
  Swtpm tpm;  // not started: no socket
  const struct {
    std::string tcti;
    SourceStatus status;
    std::string reason;
  } cases[] = {
      {tpm.Tcti(), SourceStatus::kDeviceAbsent,
       "no TPM at '" + tpm.Tcti() + "' (TCTI initialization failed, 0xa000a)"},
      {"nosuch:x", SourceStatus::kLibraryAbsent, "libtss2-tcti-nosuch.so.0 not found"},
  };
  for (const auto& c : cases) {
    setenv("ZEL_TPM2_TCTI", c.tcti.c_str(), 1);
    const auto start = std::chrono::steady_clock::now();
    const Reading reading = Read();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(reading.status, c.status) << c.tcti;
    EXPECT_EQ(reading.reason, c.reason);
    EXPECT_EQ(reading.hex, kZeros);
  }
}

}  // namespace
