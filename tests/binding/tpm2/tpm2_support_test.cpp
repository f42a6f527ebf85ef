// What of the TPM 2.0 device value needs no TPM: loading libtss2
// (absent, or lacking a function), what each response code means, and the
// bounded retries of transient TPM warnings.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <tss2/tss2_tpm2_types.h>

#include <vector>

#include "binding/tpm2/tpm2_device_value.h"
#include "binding/tpm2/tpm2_response_code.h"
#include "binding/tpm2/tpm2_retry.h"
#include "binding/tpm2/tss2_library.h"

namespace {

using namespace zel_binding;

bool StartsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

TEST(Tss2Library, AbsentLibraryOrFunctionIsReported) {
  Tss2Functions functions;
  const Tss2LibraryNames absent = {"libtss2-esys-absent.so.0", kTss2LibraryNames.tctildr,
                                   kTss2LibraryNames.sys};
  SourceResult result = OpenTss2Library(absent, functions);
  EXPECT_EQ(result.status, SourceStatus::kLibraryAbsent);
  EXPECT_TRUE(StartsWith(result.reason, "libtss2-esys-absent.so.0 not found (")) << result.reason;
  EXPECT_EQ(functions.HMAC, nullptr);

  void* installed = dlopen(kTss2LibraryNames.esys, RTLD_NOW | RTLD_LOCAL);
  if (installed == nullptr) {
    // A device without libtss2 (the i386 build where none is installed).
    DeviceValue value;
    result = ReadTpm2DeviceValue(value);
    EXPECT_EQ(result.status, SourceStatus::kLibraryAbsent);
    EXPECT_TRUE(StartsWith(result.reason, "libtss2-esys.so.0 not found (")) << result.reason;
    return;
  }
  dlclose(installed);
  const Tss2LibraryNames lacking = {kTss2LibraryNames.esys, kTss2LibraryNames.tctildr,
                                    "libtss2-mu.so.0"};
  result = OpenTss2Library(lacking, functions);
  EXPECT_EQ(result.status, SourceStatus::kLibraryAbsent);
  EXPECT_EQ(result.reason, "libtss2-mu.so.0 lacks Tss2_Sys_GetEncryptParam (tpm2-tss too old)");
  EXPECT_EQ(OpenTss2Library(kTss2LibraryNames, functions).status, SourceStatus::kOk);
  EXPECT_NE(functions.Sys_SetEncryptParam, nullptr);
}

TEST(Tpm2ResponseCode, EachCodeHasItsOutcome) {
  const struct {
    TSS2_RC rc;
    bool transient;
    SourceStatus status;
    const char* reason;
  } cases[] = {
      {TPM2_RC_BAD_AUTH | TPM2_RC_S | TPM2_RC_1, false, SourceStatus::kRefused,
       "the owner hierarchy has an authorization value (the device value needs it empty) (0x9a2)"},
      {TPM2_RC_AUTH_FAIL | TPM2_RC_S | TPM2_RC_2, false, SourceStatus::kRefused,
       "the owner hierarchy has an authorization value (the device value needs it empty) (0xa8e)"},
      {TPM2_RC_HIERARCHY | TPM2_RC_H | TPM2_RC_1, false, SourceStatus::kRefused,
       "the owner hierarchy is disabled (0x185)"},
      {TPM2_RC_LOCKOUT, false, SourceStatus::kRefused,
       "the TPM is in dictionary-attack lockout (0x921)"},
      {TPM2_RC_RETRY, true, SourceStatus::kFailed, "the TPM stayed busy (0x922)"},
      {TPM2_RC_YIELDED, true, SourceStatus::kFailed, "the TPM stayed busy (0x908)"},
      {TPM2_RC_TESTING, true, SourceStatus::kFailed, "the TPM stayed in its self test (0x90a)"},
      {TPM2_RC_INITIALIZE, false, SourceStatus::kFailed,
       "the TPM was not started (no TPM2_Startup) (0x100)"},
      {TPM2_RC_VALUE | TPM2_RC_P | TPM2_RC_1, false, SourceStatus::kFailed, "TPM error (0x1c4)"},
      {TSS2_TCTI_RC_IO_ERROR, false, SourceStatus::kDeviceAbsent,
       "the TPM cannot be reached (0xa000a)"},
      {TSS2_ESYS_RC_MEMORY, false, SourceStatus::kFailed, "TPM software stack error (0x70017)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(IsTransientResponse(c.rc), c.transient) << std::hex << c.rc;
    const SourceResult result = DescribeFailure("TPM2_X", c.rc);
    EXPECT_EQ(result.status, c.status) << std::hex << c.rc;
    EXPECT_EQ(result.reason, std::string("TPM2_X failed: ") + c.reason);
  }
}

TEST(Tpm2Retry, TransientWarningsAreRetriedABoundedNumberOfTimes) {
  const struct {
    std::vector<TSS2_RC> answers;
    TSS2_RC result;
    size_t calls;
  } cases[] = {
      {{TPM2_RC_SUCCESS}, TPM2_RC_SUCCESS, 1},
      {{TPM2_RC_RETRY, TPM2_RC_SUCCESS}, TPM2_RC_SUCCESS, 2},
      {{TPM2_RC_YIELDED, TPM2_RC_TESTING, TPM2_RC_SUCCESS}, TPM2_RC_SUCCESS, 3},
      {{TPM2_RC_RETRY, TPM2_RC_RETRY, TPM2_RC_RETRY, TPM2_RC_SUCCESS}, TPM2_RC_RETRY, 3},
      {{TPM2_RC_LOCKOUT, TPM2_RC_SUCCESS}, TPM2_RC_LOCKOUT, 1},
      {{TSS2_TCTI_RC_IO_ERROR, TPM2_RC_SUCCESS}, TSS2_TCTI_RC_IO_ERROR, 1},
  };
  for (const auto& c : cases) {
    size_t calls = 0;
    const TSS2_RC rc =
        RunWithRetries([&] { return c.answers[calls++]; }, {3, std::chrono::milliseconds(1)});
    EXPECT_EQ(rc, c.result);
    EXPECT_EQ(calls, c.calls);
  }
}

}  // namespace
