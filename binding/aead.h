// aead.h: the primitives of a bound store, through libcrypto: HKDF-SHA256
// (RFC 5869), AES-256-GCM with a 96-bit nonce and a 128-bit tag, and the
// random generator. Thin wrappers: every function returns false when
// libcrypto reports an error or a size does not fit its int arguments.
#ifndef ZEL_BINDING_AEAD_H
#define ZEL_BINDING_AEAD_H

#include <cstddef>
#include <cstdint>

#include "libcrypto.h"

namespace zel_binding {

constexpr size_t kAeadKeySize = 32;
constexpr size_t kAeadNonceSize = 12;
constexpr size_t kAeadTagSize = 16;

// Span is a read-only run of bytes.
struct Span {
  const uint8_t* data;
  size_t size;
};

// HkdfSha256 writes |out_size| bytes of HKDF-SHA256 (extract and expand)
// of |ikm| under |salt| and |info| to |out|.
bool HkdfSha256(const Libcrypto& crypto, Span ikm, Span salt, Span info, uint8_t* out,
                size_t out_size);

// AesGcmSeal encrypts |plain| under |key| and |nonce|, authenticating
// |aad| too, and writes the ciphertext (|plain|.size bytes) followed by the
// tag to |out|, which holds |plain|.size + kAeadTagSize bytes.
bool AesGcmSeal(const Libcrypto& crypto, const uint8_t* key, const uint8_t* nonce, Span aad,
                Span plain, uint8_t* out);

// AesGcmOpen takes ciphertext followed by the tag in |sealed| and writes
// the plaintext (|sealed|.size - kAeadTagSize bytes) to |out|; true only
// when the tag matches.
//
// WARNING: the plaintext is written before the tag is checked; on false
// the caller must wipe |out| and use none of it.
bool AesGcmOpen(const Libcrypto& crypto, const uint8_t* key, const uint8_t* nonce, Span aad,
                Span sealed, uint8_t* out);

// RandomBytes fills |out| from libcrypto's generator (seeded by the
// kernel).
bool RandomBytes(const Libcrypto& crypto, uint8_t* out, size_t size);

}  // namespace zel_binding

#endif  // ZEL_BINDING_AEAD_H
