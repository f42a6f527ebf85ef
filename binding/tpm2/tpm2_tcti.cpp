// tpm2_tcti.cpp: see tpm2_tcti.h.
#include "binding/tpm2/tpm2_tcti.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace zel_binding {
namespace {

// TctiLibrary returns the library tpm2-tss loads for |config| when its
// name is a short one ("device" -> "libtss2-tcti-device.so.0"); a name
// that is already a library or a path is returned as it is.
std::string TctiLibrary(const std::string& config) {
  const std::string name = config.substr(0, config.find(':'));
  if (name.find('/') != std::string::npos || name.find(".so") != std::string::npos) return name;
  return "libtss2-tcti-" + name + ".so.0";
}

}  // namespace

std::string Tpm2TctiConfig() {
  const char* value = std::getenv(kTpm2TctiVariable);
  return value != nullptr && *value != '\0' ? value : kDefaultTpm2Tcti;
}

SourceResult DescribeTctiFailure(const std::string& config, TSS2_RC rc) {
  const std::string library = TctiLibrary(config);
  void* handle = dlopen(library.c_str(), RTLD_LAZY | RTLD_LOCAL);
  if (handle == nullptr) return {SourceStatus::kLibraryAbsent, library + " not found"};
  dlclose(handle);
  char code[16];
  std::snprintf(code, sizeof(code), "0x%x", static_cast<unsigned>(rc));
  return {SourceStatus::kDeviceAbsent,
          "no TPM at '" + config + "' (TCTI initialization failed, " + code + ")"};
}

}  // namespace zel_binding
