// binding/tpm2/tpm2_device_value.h
#ifndef ZEL_BINDING_TPM2_TPM2_DEVICE_VALUE_H
#define ZEL_BINDING_TPM2_TPM2_DEVICE_VALUE_H

#include "device_value.h"

namespace zel_binding {

// ReadTpm2DeviceValue derives this device's TPM value: HMAC-SHA256 of a fixed
// domain label under a deterministic keyed-hash primary of the owner
// hierarchy. TCTI from $ZEL_TPM2_TCTI or "device:/dev/tpmrm0".
SourceResult ReadTpm2DeviceValue(DeviceValue& out);

}  // namespace zel_binding

#endif  // ZEL_BINDING_TPM2_TPM2_DEVICE_VALUE_H
