// tpm2_retry.h: runs a TPM command again, a bounded number of times, while
// the TPM answers that it cannot run it now.
//
// tpm2-tss resubmits such a command a few times at once; this adds short
// pauses between whole calls, for a TPM that runs its self test or serves
// another user for a while.
#ifndef ZEL_BINDING_TPM2_TPM2_RETRY_H
#define ZEL_BINDING_TPM2_TPM2_RETRY_H

#include <tss2/tss2_common.h>

#include <chrono>
#include <functional>

namespace zel_binding {

// Tpm2RetryPolicy: at most |attempts| calls; the first pause lasts
// |first_pause|, each next one twice as long.
struct Tpm2RetryPolicy {
  int attempts;
  std::chrono::milliseconds first_pause;
};

// kTpm2RetryPolicy: 4 calls, pauses of 50, 100 and 200 ms.
constexpr Tpm2RetryPolicy kTpm2RetryPolicy = {4, std::chrono::milliseconds(50)};

// RunWithRetries calls |command| until it returns a response code that
// IsTransientResponse does not accept, or |policy| allows no more calls;
// returns the last code.
TSS2_RC RunWithRetries(const std::function<TSS2_RC()>& command,
                       const Tpm2RetryPolicy& policy = kTpm2RetryPolicy);

}  // namespace zel_binding

#endif  // ZEL_BINDING_TPM2_TPM2_RETRY_H
