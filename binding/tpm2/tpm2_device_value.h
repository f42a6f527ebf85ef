// tpm2_device_value.h: the device value of a TPM 2.0.
#ifndef ZEL_BINDING_TPM2_TPM2_DEVICE_VALUE_H
#define ZEL_BINDING_TPM2_TPM2_DEVICE_VALUE_H

#include "binding/device_value.h"

namespace zel_binding {

// ReadTpm2DeviceValue derives this device's TPM value: HMAC-SHA256 of a fixed
// domain label under a deterministic keyed-hash primary of the owner
// hierarchy. TCTI from $ZEL_TPM2_TCTI or "device:/dev/tpmrm0".
//
// The same TPM gives the same value every time; another TPM, or this one
// after TPM2_Clear (a new owner seed), gives another. Nothing is written to
// the TPM's NV memory or to disk, and the TPM holds nothing of it
// afterwards. The value crosses the bus encrypted (a salted session).
// Outcomes: kOk and |out| filled; kLibraryAbsent (libtss2 or its TCTI not
// installed); kDeviceAbsent (no TPM there, or it stopped answering);
// kRefused (owner authorization set, owner hierarchy disabled, lockout);
// kFailed. |out| is wiped unless kOk. Takes some tens of milliseconds on a
// real TPM: callers keep the value rather than read it again.
SourceResult ReadTpm2DeviceValue(DeviceValue& out);

}  // namespace zel_binding

#endif  // ZEL_BINDING_TPM2_TPM2_DEVICE_VALUE_H
