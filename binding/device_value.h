// device_value.h: the device-unique secret that a bound store derives its
// item keys from, and the outcome of reading it from a source (the TPM, the
// host secret file).
//
// Internal to bound builds of libzel_secure_store: nothing here is exported
// or installed, and the default build does not compile it.
#ifndef ZEL_BINDING_DEVICE_VALUE_H
#define ZEL_BINDING_DEVICE_VALUE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "HevoWipe.h"

namespace zel_binding {

// DeviceValue holds 32 bytes of device-unique secret, inside the object (no
// heap block that could be freed unwiped). The bytes are zero until a
// source fills them, and wiped on destruction. It is neither copied nor
// moved: each value stays where it was read.
class DeviceValue {
 public:
  static constexpr size_t kSize = 32;

  DeviceValue() = default;
  ~DeviceValue() { Wipe(); }
  DeviceValue(const DeviceValue&) = delete;
  DeviceValue& operator=(const DeviceValue&) = delete;

  uint8_t* data() { return bytes_; }
  const uint8_t* data() const { return bytes_; }
  static constexpr size_t size() { return kSize; }

  // Wipe zeroes the bytes.
  void Wipe() { HevoWipe::Wipe(bytes_, kSize); }

 private:
  uint8_t bytes_[kSize] = {};
};

// SourceStatus is the outcome of reading a device value. Each failure has
// its own log line, whose text the source chooses (SourceResult::reason).
enum class SourceStatus {
  kOk,             // the value was read
  kLibraryAbsent,  // a library the source needs is not installed (libtss2)
  kDeviceAbsent,   // the device is missing or unreachable (no TPM, the
                   // TCTI cannot connect, no host secret file)
  kRefused,        // the source exists but must not be used (a secret file
                   // of the wrong mode, owner, size or format)
  kFailed,         // any other error
};

// SourceResult: |reason| is one line for the log, without a line end; empty
// for kOk.
struct SourceResult {
  SourceStatus status;
  std::string reason;
};

}  // namespace zel_binding

#endif  // ZEL_BINDING_DEVICE_VALUE_H
