// tss2_library.cpp: see tss2_library.h.
#include "binding/tpm2/tss2_library.h"

#include <dlfcn.h>

#include <mutex>
#include <string>

namespace zel_binding {
namespace {

// LoadedLibrary closes its handle on destruction unless released.
class LoadedLibrary {
 public:
  LoadedLibrary() = default;
  ~LoadedLibrary() {
    if (handle_ != nullptr) dlclose(handle_);
  }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  // Open returns an empty string on success, else why it failed.
  std::string Open(const char* name) {
    handle_ = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (handle_ != nullptr) return std::string();
    const char* error = dlerror();
    return std::string(name) + " not found (" + (error != nullptr ? error : "no detail") + ")";
  }

  // Resolve sets |function| to |name|'s address; false when it is missing.
  template <typename Function>
  bool Resolve(const char* name, Function& function) const {
    void* symbol = dlsym(handle_, name);
    function = reinterpret_cast<Function>(symbol);
    return symbol != nullptr;
  }

  // Release keeps the library loaded for the rest of the process.
  void Release() { handle_ = nullptr; }

 private:
  void* handle_ = nullptr;
};

SourceResult Absent(std::string reason) {
  return {SourceStatus::kLibraryAbsent, std::move(reason)};
}

SourceResult Missing(const char* library, const char* function) {
  return Absent(std::string(library) + " lacks " + function + " (tpm2-tss too old)");
}

}  // namespace

SourceResult OpenTss2Library(const Tss2LibraryNames& names, Tss2Functions& out) {
  LoadedLibrary tctildr, esys, sys;
  std::string error = esys.Open(names.esys);
  if (error.empty()) error = tctildr.Open(names.tctildr);
  if (error.empty()) error = sys.Open(names.sys);
  if (!error.empty()) return Absent(error);

  Tss2Functions f;
  if (!tctildr.Resolve("Tss2_TctiLdr_Initialize", f.TctiLdr_Initialize))
    return Missing(names.tctildr, "Tss2_TctiLdr_Initialize");
  if (!tctildr.Resolve("Tss2_TctiLdr_Finalize", f.TctiLdr_Finalize))
    return Missing(names.tctildr, "Tss2_TctiLdr_Finalize");
  const struct {
    const char* name;
    bool found;
  } esys_functions[] = {
      {"Esys_Initialize", esys.Resolve("Esys_Initialize", f.Initialize)},
      {"Esys_Finalize", esys.Resolve("Esys_Finalize", f.Finalize)},
      {"Esys_CreatePrimary", esys.Resolve("Esys_CreatePrimary", f.CreatePrimary)},
      {"Esys_StartAuthSession", esys.Resolve("Esys_StartAuthSession", f.StartAuthSession)},
      {"Esys_TRSess_SetAttributes",
       esys.Resolve("Esys_TRSess_SetAttributes", f.TRSess_SetAttributes)},
      {"Esys_HMAC", esys.Resolve("Esys_HMAC", f.HMAC)},
      {"Esys_FlushContext", esys.Resolve("Esys_FlushContext", f.FlushContext)},
      {"Esys_Free", esys.Resolve("Esys_Free", f.Free)},
      {"Esys_GetSysContext", esys.Resolve("Esys_GetSysContext", f.GetSysContext)},
  };
  for (const auto& function : esys_functions)
    if (!function.found) return Missing(names.esys, function.name);
  if (!sys.Resolve("Tss2_Sys_GetEncryptParam", f.Sys_GetEncryptParam))
    return Missing(names.sys, "Tss2_Sys_GetEncryptParam");
  if (!sys.Resolve("Tss2_Sys_SetEncryptParam", f.Sys_SetEncryptParam))
    return Missing(names.sys, "Tss2_Sys_SetEncryptParam");

  tctildr.Release();
  esys.Release();
  sys.Release();
  out = f;
  return {SourceStatus::kOk, std::string()};
}

SourceResult SystemTss2Library(const Tss2Functions** out) {
  static std::mutex mutex;
  static Tss2Functions functions;
  static bool loaded = false;
  std::lock_guard<std::mutex> lock(mutex);
  if (!loaded) {
    SourceResult opened = OpenTss2Library(kTss2LibraryNames, functions);
    if (opened.status != SourceStatus::kOk) return opened;
    loaded = true;
  }
  *out = &functions;
  return {SourceStatus::kOk, std::string()};
}

}  // namespace zel_binding
