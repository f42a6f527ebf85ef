// tss2_library.h: the tpm2-tss functions the TPM 2.0 device value uses,
// loaded at run time.
//
// A bound library links no TPM library: a device without libtss2 must still
// run it (and get a clean refusal from the TPM source). So the three
// libraries are opened with dlopen and only the functions below are
// resolved; their types come from the tpm2-tss headers at build time.
#ifndef ZEL_BINDING_TPM2_TSS2_LIBRARY_H
#define ZEL_BINDING_TPM2_TSS2_LIBRARY_H

#include <tss2/tss2_esys.h>
#include <tss2/tss2_sys.h>
#include <tss2/tss2_tctildr.h>

#include "binding/device_value.h"

namespace zel_binding {

// Tss2Functions: one pointer per tpm2-tss function used, named after it (without
// the "Esys_" prefix, which names the function itself).
struct Tss2Functions {
  decltype(&Tss2_TctiLdr_Initialize) TctiLdr_Initialize = nullptr;
  decltype(&Tss2_TctiLdr_Finalize) TctiLdr_Finalize = nullptr;
  decltype(&::Esys_Initialize) Initialize = nullptr;
  decltype(&::Esys_Finalize) Finalize = nullptr;
  decltype(&::Esys_CreatePrimary) CreatePrimary = nullptr;
  decltype(&::Esys_StartAuthSession) StartAuthSession = nullptr;
  decltype(&::Esys_TRSess_SetAttributes) TRSess_SetAttributes = nullptr;
  decltype(&::Esys_HMAC) HMAC = nullptr;
  decltype(&::Esys_FlushContext) FlushContext = nullptr;
  decltype(&::Esys_Free) Free = nullptr;
  decltype(&::Esys_GetSysContext) GetSysContext = nullptr;
  decltype(&Tss2_Sys_GetEncryptParam) Sys_GetEncryptParam = nullptr;
  decltype(&Tss2_Sys_SetEncryptParam) Sys_SetEncryptParam = nullptr;
};

// Tss2LibraryNames: the sonames to open.
struct Tss2LibraryNames {
  const char* esys;
  const char* tctildr;
  const char* sys;
};

// kTss2LibraryNames: Debian's libtss2-esys-3.0.2-0, libtss2-tctildr0 and
// libtss2-sys1.
constexpr Tss2LibraryNames kTss2LibraryNames = {"libtss2-esys.so.0", "libtss2-tctildr.so.0",
                                                "libtss2-sys.so.1"};

// OpenTss2Library opens the libraries of |names| (RTLD_NOW | RTLD_LOCAL)
// and fills |out|. A library that cannot be opened, or that lacks one of
// the functions, gives kLibraryAbsent with a reason that names it; then
// nothing stays loaded. On success the libraries stay loaded for the life
// of the process: libtss2 pulls in libcrypto, which must not be unloaded
// under the application.
SourceResult OpenTss2Library(const Tss2LibraryNames& names, Tss2Functions& out);

// SystemTss2Library points |out| at the functions of kTss2LibraryNames,
// opened by the first call that succeeds; later calls reuse them. A failed
// call keeps nothing, so a libtss2 installed later is found by the next
// call. Thread-safe.
SourceResult SystemTss2Library(const Tss2Functions** out);

}  // namespace zel_binding

#endif  // ZEL_BINDING_TPM2_TSS2_LIBRARY_H
