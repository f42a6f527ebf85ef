// device_keys.h: the key material of a binding mode, the device value(s)
// read from the mode's sources: the TPM's value (tpm2), the host secret
// (host), or both, TPM first (tpm2+host).
//
// The material is read once per process and kept in memory that is wiped
// when the process ends (and locked against swapping where the system
// allows). It is read again only when the setting it came from changes
// ($ZEL_HOST_SECRET, $ZEL_TPM2_TCTI), so that one process can use one store
// per setting. A failure is never kept: the next call asks the sources
// again, so a store works again once its TPM is back.
#ifndef ZEL_BINDING_DEVICE_KEYS_H
#define ZEL_BINDING_DEVICE_KEYS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include "aead.h"
#include "device_value.h"
#include "sealed_item.h"

namespace zel_binding {

// DeviceSources says where the device values come from: the system's
// sources (SystemSources), or a test's.
struct DeviceSources {
  SourceResult (*read_tpm2)(DeviceValue& out);
  std::string (*tpm2_setting)();  // the TCTI setting the TPM value depends on
  std::string (*host_path)();     // the host secret's path
};

// SystemSources: ReadTpm2DeviceValue, $ZEL_TPM2_TCTI, HostSecretPath.
DeviceSources SystemSources();

// KeyMaterial holds the key material of one mode (32 or 64 bytes); wiped
// on destruction.
struct KeyMaterial {
  uint8_t bytes[2 * DeviceValue::kSize] = {};
  size_t size = 0;
  ~KeyMaterial();
  Span span() const { return Span{bytes, size}; }
};

// FindBoundFile returns the name of an item file of the key store that is
// bound (sealed), or "" when there is none.
using FindBoundFile = std::function<std::string()>;

class DeviceKeys {
 public:
  DeviceKeys(Mode mode, DeviceSources sources);
  ~DeviceKeys();
  DeviceKeys(const DeviceKeys&) = delete;
  DeviceKeys& operator=(const DeviceKeys&) = delete;

  // Get copies the mode's key material into |out|. For a store
  // (|for_store|), a missing host secret is created, unless
  // |find_bound_file| (when given) names a bound item file: the secret was
  // lost, and a new one would leave that file unreadable for good, so the
  // store is refused (kRefused) until the secret is restored or the bound
  // files are gone. A load never creates it. On failure |out| is empty and
  // the result says why. Thread-safe.
  SourceResult Get(const Libcrypto& crypto, bool for_store, KeyMaterial& out,
                   const FindBoundFile& find_bound_file = nullptr);

 private:
  SourceResult Read(const Libcrypto& crypto, bool for_store, const std::string& host_path,
                    const FindBoundFile& find_bound_file);

  std::mutex lock_;
  const Mode mode_;
  const DeviceSources sources_;
  KeyMaterial cached_;
  bool have_cached_ = false;
  std::string cached_tpm2_setting_, cached_host_path_;
};

}  // namespace zel_binding

#endif  // ZEL_BINDING_DEVICE_KEYS_H
