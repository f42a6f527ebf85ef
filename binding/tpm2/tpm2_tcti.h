// tpm2_tcti.h: which TPM the device value talks to, and why it could not.
//
// The TCTI (tpm2-tss's transport) is "device:/dev/tpmrm0", the kernel's
// resource-managed TPM device, unless the environment variable
// ZEL_TPM2_TCTI names another one (tests use "swtpm:path=...").
#ifndef ZEL_BINDING_TPM2_TPM2_TCTI_H
#define ZEL_BINDING_TPM2_TPM2_TCTI_H

#include <tss2/tss2_common.h>

#include <string>

#include "binding/device_value.h"

namespace zel_binding {

constexpr char kTpm2TctiVariable[] = "ZEL_TPM2_TCTI";
constexpr char kDefaultTpm2Tcti[] = "device:/dev/tpmrm0";

// Tpm2TctiConfig returns $ZEL_TPM2_TCTI when it is set and not empty, else
// kDefaultTpm2Tcti.
std::string Tpm2TctiConfig();

// DescribeTctiFailure tells why Tss2_TctiLdr_Initialize(|config|) failed
// with |rc|: kLibraryAbsent when the TCTI's own library cannot be loaded
// (the reason names it, e.g. "libtss2-tcti-device.so.0 not found"), else
// kDeviceAbsent (no TPM at that address).
SourceResult DescribeTctiFailure(const std::string& config, TSS2_RC rc);

}  // namespace zel_binding

#endif  // ZEL_BINDING_TPM2_TPM2_TCTI_H
