// tpm2_templates.cpp: see tpm2_templates.h.
#include "binding/tpm2/tpm2_templates.h"

#include <cstring>

namespace zel_binding {
namespace {

constexpr TPMA_OBJECT kBoundKey = TPMA_OBJECT_FIXEDTPM | TPMA_OBJECT_FIXEDPARENT |
                                  TPMA_OBJECT_SENSITIVEDATAORIGIN | TPMA_OBJECT_USERWITHAUTH |
                                  TPMA_OBJECT_NODA;

static_assert(sizeof(kDeviceKeyUnique) - 1 <= sizeof(TPMU_HA::sha256),
              "the unique field holds at most a SHA-256 digest");

}  // namespace

TPM2B_PUBLIC DeviceKeyTemplate() {
  TPM2B_PUBLIC key = {};
  TPMT_PUBLIC& area = key.publicArea;
  area.type = TPM2_ALG_KEYEDHASH;
  area.nameAlg = TPM2_ALG_SHA256;
  area.objectAttributes = kBoundKey | TPMA_OBJECT_SIGN_ENCRYPT;
  area.parameters.keyedHashDetail.scheme.scheme = TPM2_ALG_HMAC;
  area.parameters.keyedHashDetail.scheme.details.hmac.hashAlg = TPM2_ALG_SHA256;
  area.unique.keyedHash.size = sizeof(kDeviceKeyUnique) - 1;
  std::memcpy(area.unique.keyedHash.buffer, kDeviceKeyUnique, sizeof(kDeviceKeyUnique) - 1);
  return key;
}

TPM2B_PUBLIC SaltKeyTemplate() {
  TPM2B_PUBLIC key = {};
  TPMT_PUBLIC& area = key.publicArea;
  area.type = TPM2_ALG_ECC;
  area.nameAlg = TPM2_ALG_SHA256;
  area.objectAttributes = kBoundKey | TPMA_OBJECT_RESTRICTED | TPMA_OBJECT_DECRYPT;
  TPMS_ECC_PARMS& ecc = area.parameters.eccDetail;
  ecc.symmetric.algorithm = TPM2_ALG_AES;
  ecc.symmetric.keyBits.aes = 128;
  ecc.symmetric.mode.aes = TPM2_ALG_CFB;
  ecc.scheme.scheme = TPM2_ALG_NULL;
  ecc.curveID = TPM2_ECC_NIST_P256;
  ecc.kdf.scheme = TPM2_ALG_NULL;
  area.unique.ecc.x.size = 32;  // zeros, as the TCG template has them
  area.unique.ecc.y.size = 32;
  return key;
}

TPMT_SYM_DEF SessionCipher() {
  TPMT_SYM_DEF cipher = {};
  cipher.algorithm = TPM2_ALG_AES;
  cipher.keyBits.aes = 128;
  cipher.mode.aes = TPM2_ALG_CFB;
  return cipher;
}

TPM2B_MAX_BUFFER DeviceValueMessage() {
  TPM2B_MAX_BUFFER message = {};
  message.size = sizeof(kDeviceValueLabel) - 1;
  std::memcpy(message.buffer, kDeviceValueLabel, sizeof(kDeviceValueLabel) - 1);
  return message;
}

}  // namespace zel_binding
