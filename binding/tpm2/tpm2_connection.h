// tpm2_connection.h: one connection to the TPM through tpm2-tss (a TCTI and
// an ESAPI context), and the transient objects and sessions made on it.
//
// The connection and every handle close themselves on every path: swtpm
// and a TPM reached through /dev/tpm0 have no resource manager, and an
// object left behind would take one of the TPM's few slots until reboot.
#ifndef ZEL_BINDING_TPM2_TPM2_CONNECTION_H
#define ZEL_BINDING_TPM2_TPM2_CONNECTION_H

#include <string>

#include "binding/device_value.h"
#include "binding/tpm2/tss2_library.h"

namespace zel_binding {

// EsysConnection owns a TCTI context and the ESAPI context on it; both are
// finalized on destruction. |tss2| must outlive it.
class EsysConnection {
 public:
  explicit EsysConnection(const Tss2Functions& tss2) : tss2_(tss2) {}
  ~EsysConnection();
  EsysConnection(const EsysConnection&) = delete;
  EsysConnection& operator=(const EsysConnection&) = delete;

  // Open connects to the TPM named by |tcti_config| (see tpm2_tcti.h);
  // kOk, or kDeviceAbsent / kLibraryAbsent / kFailed with the reason.
  SourceResult Open(const std::string& tcti_config);

  ESYS_CONTEXT* context() const { return context_; }
  const Tss2Functions& tss2() const { return tss2_; }

 private:
  const Tss2Functions& tss2_;
  TSS2_TCTI_CONTEXT* tcti_ = nullptr;
  ESYS_CONTEXT* context_ = nullptr;
};

// TransientHandle holds an object or session that a command creates on
// |tpm| and flushes it from the TPM when it goes out of scope. Declare it
// after the connection, so that it goes first.
class TransientHandle {
 public:
  explicit TransientHandle(EsysConnection& tpm) : tpm_(tpm) {}
  ~TransientHandle() { Flush(); }
  TransientHandle(const TransientHandle&) = delete;
  TransientHandle& operator=(const TransientHandle&) = delete;

  // out is where the creating command stores the handle.
  ESYS_TR* out() { return &handle_; }
  ESYS_TR get() const { return handle_; }

  // Flush removes the object or session from the TPM now; nothing when
  // there is none. A TPM that cannot be reached any more keeps it (the
  // kernel's resource manager drops it when the connection closes).
  void Flush();

 private:
  EsysConnection& tpm_;
  ESYS_TR handle_ = ESYS_TR_NONE;
};

}  // namespace zel_binding

#endif  // ZEL_BINDING_TPM2_TPM2_CONNECTION_H
