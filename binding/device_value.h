// device_value.h: what a device value source hands to the bound store: 32
// secret bytes unique to this device, and the outcome of reading them.
//
// A source (the TPM 2.0, the host secret file) fills a DeviceValue the
// caller owns; the caller keeps it only as long as it needs it.
#ifndef ZEL_BINDING_DEVICE_VALUE_H
#define ZEL_BINDING_DEVICE_VALUE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zel_binding {

// DeviceValue holds 32 bytes of device-unique secret; wiped on destruction,
// never copied (move only: a move leaves the source zeroed).
class DeviceValue {
 public:
  static constexpr size_t kSize = 32;

  DeviceValue() = default;
  ~DeviceValue() { Wipe(); }
  DeviceValue(const DeviceValue&) = delete;
  DeviceValue& operator=(const DeviceValue&) = delete;
  DeviceValue(DeviceValue&& other) noexcept { TakeFrom(other); }
  DeviceValue& operator=(DeviceValue&& other) noexcept {
    if (this != &other) TakeFrom(other);
    return *this;
  }

  uint8_t* data() { return bytes_; }
  const uint8_t* data() const { return bytes_; }

  // Wipe zeroes the bytes; the volatile stores keep the compiler from
  // dropping it as dead.
  void Wipe() {
    volatile uint8_t* bytes = bytes_;
    for (size_t i = 0; i < kSize; ++i) bytes[i] = 0;
  }

 private:
  void TakeFrom(DeviceValue& other) {
    for (size_t i = 0; i < kSize; ++i) bytes_[i] = other.bytes_[i];
    other.Wipe();
  }

  uint8_t bytes_[kSize] = {};
};

// Outcome of reading a device value, each with its own log line text chosen
// by the source: kOk, kLibraryAbsent (libtss2 not installed), kDeviceAbsent
// (no TPM / TCTI cannot connect), kRefused (e.g. secret file with wrong mode),
// kFailed (other error).
enum class SourceStatus { kOk, kLibraryAbsent, kDeviceAbsent, kRefused, kFailed };

// SourceResult: the status and, when it is not kOk, one line that says why,
// for the log.
struct SourceResult {
  SourceStatus status;
  std::string reason;
};

}  // namespace zel_binding

#endif  // ZEL_BINDING_DEVICE_VALUE_H
