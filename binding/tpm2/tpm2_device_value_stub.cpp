// tpm2_device_value_stub.cpp: STUB, replaced when the TPM 2.0 source
// lands (binding/tpm2/). It answers as a device without libtss2 would, so
// that the tpm2 modes build and refuse cleanly meanwhile.
#include "tpm2/tpm2_device_value.h"

namespace zel_binding {

SourceResult ReadTpm2DeviceValue(DeviceValue& out) {
  out.Wipe();
  return {SourceStatus::kLibraryAbsent, "the TPM library libtss2-esys is not installed"};
}

}  // namespace zel_binding
