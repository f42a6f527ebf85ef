// tpm2_retry.cpp: see tpm2_retry.h.
#include "binding/tpm2/tpm2_retry.h"

#include <thread>

#include "binding/tpm2/tpm2_response_code.h"

namespace zel_binding {

TSS2_RC RunWithRetries(const std::function<TSS2_RC()>& command, const Tpm2RetryPolicy& policy) {
  std::chrono::milliseconds pause = policy.first_pause;
  TSS2_RC rc = command();
  for (int attempt = 1; attempt < policy.attempts && IsTransientResponse(rc); ++attempt) {
    std::this_thread::sleep_for(pause);
    pause *= 2;
    rc = command();
  }
  return rc;
}

}  // namespace zel_binding
