// tpm2_response_code.h: what a tpm2-tss response code means for the device
// value: worth another try, or which refusal, with a line for the log.
#ifndef ZEL_BINDING_TPM2_TPM2_RESPONSE_CODE_H
#define ZEL_BINDING_TPM2_TPM2_RESPONSE_CODE_H

#include <tss2/tss2_common.h>

#include "binding/device_value.h"

namespace zel_binding {

// IsTransientResponse: the TPM could not run the command now but may on a
// later try (TPM2_RC_RETRY, TPM2_RC_YIELDED, TPM2_RC_TESTING). A TPM in
// dictionary-attack lockout (TPM2_RC_LOCKOUT) is not transient: it stays
// so for minutes to hours.
bool IsTransientResponse(TSS2_RC rc);

// DescribeFailure maps a failed |command|'s response code to the device
// value's outcome: kDeviceAbsent when the TPM could not be reached (an
// error of the TCTI layer), kRefused when the TPM declines by its
// configuration (owner authorization set, owner hierarchy disabled), else
// kFailed. The reason names the command, what went wrong and the code.
SourceResult DescribeFailure(const char* command, TSS2_RC rc);

}  // namespace zel_binding

#endif  // ZEL_BINDING_TPM2_TPM2_RESPONSE_CODE_H
