// device_binding.cpp: see device_binding.h.
#include "device_binding.h"

#include "HevoWipe.h"
#include "device_keys.h"
#include "zelLogging.h"

namespace zel_binding {

const char kLogCannotStore[] = "[ZelDeviceBinding] Can't store '%s' bound to this device: %s.";
const char kLogCannotLoad[] = "[ZelDeviceBinding] Can't load '%s' bound to this device: %s.";
const char kLogOtherDevice[] =
    "[ZelDeviceBinding] Can't load '%s': it belongs to another device, or this device's TPM or "
    "host secret changed, or the file was damaged.";
const char kLogNotBound[] =
    "[ZelDeviceBinding] Can't load '%s': it is not bound to a device (an unbound build wrote it, "
    "or it was put there); only an explicit migration binds it.";
const char kLogOtherMode[] =
    "[ZelDeviceBinding] Can't load '%s': it is bound by %s, and this build binds by %s.";
const char kLogUnknownVersion[] =
    "[ZelDeviceBinding] Can't load '%s': its binding format version %u is unknown to this build.";

namespace {

constexpr int kLevelError = 2;

// KeysFor returns the process's key material of |mode|.
DeviceKeys& KeysFor(Mode mode) {
  static DeviceKeys host(Mode::kHost, SystemSources());
  static DeviceKeys tpm2(Mode::kTpm2, SystemSources());
  static DeviceKeys both(Mode::kTpm2Host, SystemSources());
  return mode == Mode::kHost ? host : mode == Mode::kTpm2 ? tpm2 : both;
}

void LogCannot(bool for_store, const std::string& file_name, const std::string& reason) {
  if (for_store)
    zelLogging_log(kLevelError, kLogCannotStore, file_name.c_str(), reason.c_str());
  else
    zelLogging_log(kLevelError, kLogCannotLoad, file_name.c_str(), reason.c_str());
}

// Material loads libcrypto and gets the key material; false after logging
// why it cannot.
bool Material(Mode mode, bool for_store, const std::string& file_name, const Libcrypto*& crypto,
              KeyMaterial& material, const FindBoundFile& find_bound_file = nullptr) {
  std::string error;
  crypto = LoadLibcrypto(error);
  if (crypto == nullptr) {
    LogCannot(for_store, file_name, "the cryptographic library " + error);
    return false;
  }
  const SourceResult result = KeysFor(mode).Get(*crypto, for_store, material, find_bound_file);
  if (result.status != SourceStatus::kOk) {
    LogCannot(for_store, file_name, result.reason);
    return false;
  }
  return true;
}

}  // namespace

bool BindItem(Mode mode, const std::string& file_name, Span plain, std::vector<uint8_t>& sealed,
              const FindBoundFile& find_bound_file) {
  HevoWipe::Clear(sealed);
  const Libcrypto* crypto = nullptr;
  KeyMaterial material;
  if (!Material(mode, true, file_name, crypto, material, find_bound_file)) return false;
  if (!SealItem(*crypto, mode, material.span(), file_name, plain, sealed)) {
    zelLogging_log(kLevelError, kLogCannotStore, file_name.c_str(), "libcrypto failed to seal it");
    return false;
  }
  return true;
}

Unbound UnbindItem(Mode mode, const std::string& file_name, std::vector<uint8_t>& data,
                   bool quiet_not_bound) {
  const Span sealed{data.data(), data.size()};
  const SealedHeader header = ReadSealedHeader(sealed, mode);
  OpenStatus status = header.status;
  const Libcrypto* crypto = nullptr;
  KeyMaterial material;
  std::vector<uint8_t> plain;
  if (status == OpenStatus::kOk) {
    if (!Material(mode, false, file_name, crypto, material)) {
      HevoWipe::Clear(data);
      return Unbound::kRefused;
    }
    status = OpenItem(*crypto, mode, material.span(), file_name, sealed, plain);
  }
  switch (status) {
    case OpenStatus::kOk:
      data.swap(plain);
      HevoWipe::Clear(plain);
      return Unbound::kOk;
    case OpenStatus::kNotBound:
      if (!quiet_not_bound) {
        zelLogging_log(kLevelError, kLogNotBound, file_name.c_str());
        HevoWipe::Clear(data);
      }
      return Unbound::kNotBound;
    case OpenStatus::kUnknownVersion:
      zelLogging_log(kLevelError, kLogUnknownVersion, file_name.c_str(), header.version);
      break;
    case OpenStatus::kOtherMode:
      zelLogging_log(kLevelError, kLogOtherMode, file_name.c_str(), ModeName(header.mode),
                     ModeName(mode));
      break;
    case OpenStatus::kRefused:
      zelLogging_log(kLevelError, kLogOtherDevice, file_name.c_str());
      break;
    case OpenStatus::kCryptoFailed:
      zelLogging_log(kLevelError, kLogCannotLoad, file_name.c_str(), "libcrypto failed to open it");
      break;
  }
  HevoWipe::Clear(data);
  return Unbound::kRefused;
}

}  // namespace zel_binding
