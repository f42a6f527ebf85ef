// device_keys.cpp: see device_keys.h.
#include "device_keys.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "HevoWipe.h"
#include "host_secret.h"
#include "tpm2/tpm2_device_value.h"
#include "tpm2/tpm2_tcti.h"

namespace zel_binding {
namespace {

bool UsesTpm2(Mode mode) { return mode == Mode::kTpm2 || mode == Mode::kTpm2Host; }
bool UsesHost(Mode mode) { return mode == Mode::kHost || mode == Mode::kTpm2Host; }

bool IsMissing(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) != 0 && errno == ENOENT;
}

}  // namespace

// The TPM's value depends on the TCTI it talks to, so that is its setting.
DeviceSources SystemSources() { return {ReadTpm2DeviceValue, Tpm2TctiConfig, HostSecretPath}; }

KeyMaterial::~KeyMaterial() { HevoWipe::Wipe(bytes, sizeof bytes); }

DeviceKeys::DeviceKeys(Mode mode, DeviceSources sources) : mode_(mode), sources_(sources) {
  // Best effort: without the privilege or under a low limit the material is
  // still wiped, only not kept out of swap.
  mlock(&cached_, sizeof cached_);
}

DeviceKeys::~DeviceKeys() {
  HevoWipe::Wipe(cached_.bytes, sizeof cached_.bytes);
  munlock(&cached_, sizeof cached_);
}

SourceResult DeviceKeys::Get(const Libcrypto& crypto, bool for_store, KeyMaterial& out,
                             const FindBoundFile& find_bound_file) {
  const std::lock_guard<std::mutex> guard(lock_);
  out.size = 0;
  const std::string tpm2_setting = UsesTpm2(mode_) ? sources_.tpm2_setting() : "";
  const std::string host_path = UsesHost(mode_) ? sources_.host_path() : "";
  if (!have_cached_ || tpm2_setting != cached_tpm2_setting_ || host_path != cached_host_path_) {
    have_cached_ = false;
    const SourceResult result = Read(crypto, for_store, host_path, find_bound_file);
    if (result.status != SourceStatus::kOk) return result;
    have_cached_ = true;
    cached_tpm2_setting_ = tpm2_setting;
    cached_host_path_ = host_path;
  }
  std::memcpy(out.bytes, cached_.bytes, cached_.size);
  out.size = cached_.size;
  return {SourceStatus::kOk, ""};
}

SourceResult DeviceKeys::Read(const Libcrypto& crypto, bool for_store,
                              const std::string& host_path, const FindBoundFile& find_bound_file) {
  HevoWipe::Wipe(cached_.bytes, sizeof cached_.bytes);
  cached_.size = 0;
  DeviceValue value;
  // The TPM first: a store on a device whose TPM fails creates no host
  // secret.
  if (UsesTpm2(mode_)) {
    const SourceResult result = sources_.read_tpm2(value);
    if (result.status != SourceStatus::kOk) return result;
    std::memcpy(cached_.bytes, value.data(), DeviceValue::kSize);
    cached_.size = DeviceValue::kSize;
  }
  if (UsesHost(mode_)) {
    std::string bound;
    if (for_store && find_bound_file && IsMissing(host_path)) bound = find_bound_file();
    const SourceResult result =
        bound.empty() ? ReadHostSecret(crypto, host_path, for_store, value)
                      : SourceResult{SourceStatus::kRefused,
                                     "the host secret '" + host_path +
                                         "' is missing while the bound item file '" + bound +
                                         "' exists; restore the secret, or remove the bound item "
                                         "files to start anew"};
    if (result.status != SourceStatus::kOk) {
      HevoWipe::Wipe(cached_.bytes, sizeof cached_.bytes);
      cached_.size = 0;
      return result;
    }
    std::memcpy(cached_.bytes + cached_.size, value.data(), DeviceValue::kSize);
    cached_.size += DeviceValue::kSize;
  }
  return {SourceStatus::kOk, ""};
}

}  // namespace zel_binding
