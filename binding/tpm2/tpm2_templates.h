// tpm2_templates.h: the fixed inputs of the device value's TPM commands.
//
// WARNING: every byte here takes part in the device value. Changing the
// device key's template, its unique field or the label gives every device
// a new value, and every bound item file becomes unreadable.
#ifndef ZEL_BINDING_TPM2_TPM2_TEMPLATES_H
#define ZEL_BINDING_TPM2_TPM2_TEMPLATES_H

#include <tss2/tss2_tpm2_types.h>

namespace zel_binding {

// kDeviceKeyUnique: the unique field of the device key's template; it sets
// the key apart from any other keyed-hash primary of the owner hierarchy.
constexpr char kDeviceKeyUnique[] = "zel_secure_store tpm2 device key";
// kDeviceValueLabel: the message the device key signs (HMAC-SHA256); the
// signature is the device value.
constexpr char kDeviceValueLabel[] = "zel_secure_store device value v1";

// DeviceKeyTemplate: a keyed-hash signing key, HMAC with SHA-256, created
// by the TPM from the owner seed (sensitiveDataOrigin), bound to this TPM
// (fixedTPM, fixedParent), usable with its empty authorization value
// (userWithAuth) and outside dictionary-attack counting (noDA). A primary
// key with the same template on the same owner seed is the same key.
TPM2B_PUBLIC DeviceKeyTemplate();

// SaltKeyTemplate: the TCG's ECC NIST P-256 storage key template (the
// common storage root key); its public key encrypts the session salt.
TPM2B_PUBLIC SaltKeyTemplate();

// SessionCipher: AES-128-CFB, the cipher of the session's parameter
// encryption.
TPMT_SYM_DEF SessionCipher();

// DeviceValueMessage: kDeviceValueLabel as the HMAC command's input.
TPM2B_MAX_BUFFER DeviceValueMessage();

}  // namespace zel_binding

#endif  // ZEL_BINDING_TPM2_TPM2_TEMPLATES_H
