// tpm2_connection.cpp: see tpm2_connection.h.
#include "binding/tpm2/tpm2_connection.h"

#include "binding/tpm2/tpm2_response_code.h"
#include "binding/tpm2/tpm2_retry.h"
#include "binding/tpm2/tpm2_tcti.h"

namespace zel_binding {

EsysConnection::~EsysConnection() {
  if (context_ != nullptr) tss2_.Finalize(&context_);
  if (tcti_ != nullptr) tss2_.TctiLdr_Finalize(&tcti_);
}

SourceResult EsysConnection::Open(const std::string& tcti_config) {
  TSS2_RC rc = tss2_.TctiLdr_Initialize(tcti_config.c_str(), &tcti_);
  if (rc != TSS2_RC_SUCCESS) {
    tcti_ = nullptr;
    return DescribeTctiFailure(tcti_config, rc);
  }
  rc = tss2_.Initialize(&context_, tcti_, nullptr);
  if (rc != TSS2_RC_SUCCESS) {
    context_ = nullptr;
    return DescribeFailure("Esys_Initialize", rc);
  }
  return {SourceStatus::kOk, std::string()};
}

void TransientHandle::Flush() {
  if (handle_ == ESYS_TR_NONE) return;
  const ESYS_TR handle = handle_;
  handle_ = ESYS_TR_NONE;
  RunWithRetries([&] { return tpm_.tss2().FlushContext(tpm_.context(), handle); });
}

}  // namespace zel_binding
