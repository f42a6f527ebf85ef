// tpm2_device_value.cpp: see tpm2_device_value.h; DESIGN.md says why the
// value is an HMAC by a primary key.
#include "binding/tpm2/tpm2_device_value.h"

#include <cstring>
#include <vector>

#include "HevoWipe.h"

#include "binding/tpm2/tpm2_connection.h"
#include "binding/tpm2/tpm2_response_code.h"
#include "binding/tpm2/tpm2_retry.h"
#include "binding/tpm2/tpm2_tcti.h"
#include "binding/tpm2/tpm2_templates.h"
#include "binding/tpm2/tss2_library.h"

namespace zel_binding {
namespace {

// EsysDigest owns a digest that ESAPI allocated, wiped before Esys_Free.
class EsysDigest {
 public:
  explicit EsysDigest(const Tss2Functions& tss2) : tss2_(tss2) {}
  ~EsysDigest() {
    if (digest_ == nullptr) return;
    HevoWipe::Wipe(digest_, sizeof(*digest_));
    tss2_.Free(digest_);
  }
  EsysDigest(const EsysDigest&) = delete;
  EsysDigest& operator=(const EsysDigest&) = delete;

  TPM2B_DIGEST** out() { return &digest_; }
  const TPM2B_DIGEST* get() const { return digest_; }

 private:
  const Tss2Functions& tss2_;
  TPM2B_DIGEST* digest_ = nullptr;
};

// WipeDecryptedResponse zeroes the first response parameter in ESAPI's
// command buffer, where ESAPI leaves it decrypted after the last command
// (the buffer is freed unwiped with the context).
void WipeDecryptedResponse(const EsysConnection& tpm) {
  const Tss2Functions& tss2 = tpm.tss2();
  TSS2_SYS_CONTEXT* sys = nullptr;
  size_t size = 0;
  const uint8_t* parameter = nullptr;
  if (tss2.GetSysContext(tpm.context(), &sys) != TSS2_RC_SUCCESS ||
      tss2.Sys_GetEncryptParam(sys, &size, &parameter) != TSS2_RC_SUCCESS)
    return;
  const std::vector<uint8_t> zeros(size);
  tss2.Sys_SetEncryptParam(sys, size, zeros.data());
}

// CreatePrimary creates a primary key of the owner hierarchy from
// |key_template|, authorized by |session| (ESYS_TR_PASSWORD: the empty
// owner password in clear).
TSS2_RC CreatePrimary(EsysConnection& tpm, ESYS_TR session, const TPM2B_PUBLIC& key_template,
                      TransientHandle& key) {
  const TPM2B_SENSITIVE_CREATE no_sensitive = {};
  const TPM2B_DATA no_outside_info = {};
  const TPML_PCR_SELECTION no_pcrs = {};
  return RunWithRetries([&] {
    return tpm.tss2().CreatePrimary(tpm.context(), ESYS_TR_RH_OWNER, session, ESYS_TR_NONE,
                                    ESYS_TR_NONE, &no_sensitive, &key_template, &no_outside_info,
                                    &no_pcrs, key.out(), nullptr, nullptr, nullptr, nullptr);
  });
}

// StartSaltedSession starts an HMAC session whose salt is encrypted to a
// fresh primary storage key; the session key, and so the encryption of
// the response parameters, is then unknown to whoever watches the bus. The
// storage key is flushed as soon as the session exists.
SourceResult StartSaltedSession(EsysConnection& tpm, TransientHandle& session) {
  const Tss2Functions& tss2 = tpm.tss2();
  TransientHandle salt_key(tpm);
  TSS2_RC rc = CreatePrimary(tpm, ESYS_TR_PASSWORD, SaltKeyTemplate(), salt_key);
  if (rc != TSS2_RC_SUCCESS) return DescribeFailure("TPM2_CreatePrimary (salt key)", rc);
  const TPMT_SYM_DEF cipher = SessionCipher();
  rc = RunWithRetries([&] {
    return tss2.StartAuthSession(tpm.context(), salt_key.get(), ESYS_TR_NONE, ESYS_TR_NONE,
                                 ESYS_TR_NONE, ESYS_TR_NONE, nullptr, TPM2_SE_HMAC, &cipher,
                                 TPM2_ALG_SHA256, session.out());
  });
  if (rc != TSS2_RC_SUCCESS) return DescribeFailure("TPM2_StartAuthSession", rc);
  rc = tss2.TRSess_SetAttributes(tpm.context(), session.get(),
                                 TPMA_SESSION_CONTINUESESSION | TPMA_SESSION_ENCRYPT, 0xff);
  if (rc != TSS2_RC_SUCCESS) return DescribeFailure("Esys_TRSess_SetAttributes", rc);
  return {SourceStatus::kOk, std::string()};
}

// SignLabel creates the device key and has it sign the label, through the
// salted |session|, into |out|.
SourceResult SignLabel(EsysConnection& tpm, const TransientHandle& session, DeviceValue& out) {
  const Tss2Functions& tss2 = tpm.tss2();
  TransientHandle device_key(tpm);
  TSS2_RC rc = CreatePrimary(tpm, session.get(), DeviceKeyTemplate(), device_key);
  if (rc != TSS2_RC_SUCCESS) return DescribeFailure("TPM2_CreatePrimary (device key)", rc);
  const TPM2B_MAX_BUFFER message = DeviceValueMessage();
  EsysDigest mac(tss2);
  rc = RunWithRetries([&] {
    return tss2.HMAC(tpm.context(), device_key.get(), session.get(), ESYS_TR_NONE, ESYS_TR_NONE,
                     &message, TPM2_ALG_SHA256, mac.out());
  });
  if (rc != TSS2_RC_SUCCESS) return DescribeFailure("TPM2_HMAC", rc);
  WipeDecryptedResponse(tpm);
  if (mac.get()->size != DeviceValue::kSize)
    return {SourceStatus::kFailed, "TPM2_HMAC returned a digest of the wrong size"};
  std::memcpy(out.data(), mac.get()->buffer, DeviceValue::kSize);
  return {SourceStatus::kOk, std::string()};
}

SourceResult ReadWith(const Tss2Functions& tss2, DeviceValue& out) {
  EsysConnection tpm(tss2);
  SourceResult result = tpm.Open(Tpm2TctiConfig());
  if (result.status != SourceStatus::kOk) return result;
  TransientHandle session(tpm);
  result = StartSaltedSession(tpm, session);
  if (result.status != SourceStatus::kOk) return result;
  return SignLabel(tpm, session, out);
}

}  // namespace

SourceResult ReadTpm2DeviceValue(DeviceValue& out) {
  out.Wipe();
  const Tss2Functions* tss2 = nullptr;
  SourceResult result = SystemTss2Library(&tss2);
  if (result.status == SourceStatus::kOk) result = ReadWith(*tss2, out);
  if (result.status != SourceStatus::kOk) out.Wipe();
  return result;
}

}  // namespace zel_binding
