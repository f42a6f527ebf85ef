// tpm2_response_code.cpp: see tpm2_response_code.h.
#include "binding/tpm2/tpm2_response_code.h"

#include <tss2/tss2_tpm2_types.h>

#include <cstdio>
#include <string>

namespace zel_binding {
namespace {

// TpmErrorNumber strips from a format-one TPM response code the handle,
// session or parameter number it carries, leaving the error itself.
TSS2_RC TpmErrorNumber(TSS2_RC rc) {
  if ((rc & TPM2_RC_FMT1) != 0) return rc & (TPM2_RC_FMT1 | 0x3f);
  return rc;
}

struct KnownResponse {
  TSS2_RC rc;
  SourceStatus status;
  const char* meaning;
};

// Responses a device in the field can give, by the TPM's error number.
constexpr KnownResponse kKnownResponses[] = {
    {TPM2_RC_BAD_AUTH, SourceStatus::kRefused,
     "the owner hierarchy has an authorization value (the device value needs it empty)"},
    {TPM2_RC_AUTH_FAIL, SourceStatus::kRefused,
     "the owner hierarchy has an authorization value (the device value needs it empty)"},
    {TPM2_RC_HIERARCHY, SourceStatus::kRefused, "the owner hierarchy is disabled"},
    {TPM2_RC_LOCKOUT, SourceStatus::kRefused, "the TPM is in dictionary-attack lockout"},
    {TPM2_RC_INITIALIZE, SourceStatus::kFailed, "the TPM was not started (no TPM2_Startup)"},
    {TPM2_RC_FAILURE, SourceStatus::kFailed, "the TPM is in failure mode"},
    {TPM2_RC_RETRY, SourceStatus::kFailed, "the TPM stayed busy"},
    {TPM2_RC_YIELDED, SourceStatus::kFailed, "the TPM stayed busy"},
    {TPM2_RC_TESTING, SourceStatus::kFailed, "the TPM stayed in its self test"},
    {TPM2_RC_OBJECT_MEMORY, SourceStatus::kFailed, "the TPM has no room for another object"},
    {TPM2_RC_SESSION_MEMORY, SourceStatus::kFailed, "the TPM has no room for another session"},
};

}  // namespace

bool IsTransientResponse(TSS2_RC rc) {
  return rc == TPM2_RC_RETRY || rc == TPM2_RC_YIELDED || rc == TPM2_RC_TESTING;
}

SourceResult DescribeFailure(const char* command, TSS2_RC rc) {
  char code[16];
  std::snprintf(code, sizeof(code), "0x%x", static_cast<unsigned>(rc));
  std::string reason = std::string(command) + " failed: ";
  SourceStatus status = SourceStatus::kFailed;
  const char* meaning = "TPM software stack error";
  if ((rc & TSS2_RC_LAYER_MASK) == TSS2_TCTI_RC_LAYER) {
    status = SourceStatus::kDeviceAbsent;
    meaning = "the TPM cannot be reached";
  } else if ((rc & TSS2_RC_LAYER_MASK) == TSS2_TPM_RC_LAYER) {
    meaning = "TPM error";
    for (const KnownResponse& known : kKnownResponses) {
      if (known.rc == TpmErrorNumber(rc)) {
        status = known.status;
        meaning = known.meaning;
      }
    }
  }
  return {status, reason + meaning + " (" + code + ")"};
}

}  // namespace zel_binding
