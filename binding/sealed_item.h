// sealed_item.h: the sealed form of an item in a bound store, the bytes
// that the store's white-box AES-CBC layer then encrypts as the item file's
// plaintext.
//
//   offset  size  field
//   0       4     magic 00 5a 44 42 ("\0ZDB")
//   4       1     format version, 1
//   5       1     binding mode (Mode)
//   6       12    nonce, random per seal
//   18      n     the item, AES-256-GCM ciphertext
//   18 + n  16    GCM tag over the first 6 bytes (as associated data) and
//                 the ciphertext
//   34 + n  4     the magic again
//
// The magic at both ends tells a damaged bound item from an unbound one:
// the white-box CBC layer turns a changed byte of an item file into a
// garbled 16-byte block (and one changed byte in the next), which can wipe
// out one magic of the sealed form but not both. A form with neither magic
// is unbound; one with a single magic is damaged and refused, so that
// the migration never takes a damaged bound file for an unbound one.
//
// The GCM key is HKDF-SHA256 of the device value(s) (ikm), salt kSalt, info
// kInfoLabel || mode || the item's file name: each item file has a key of
// its own, so a sealed item copied under another name, or to another
// device, or read with another mode, fails its tag. binding/DESIGN.md says
// why this construction.
#ifndef ZEL_BINDING_SEALED_ITEM_H
#define ZEL_BINDING_SEALED_ITEM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "aead.h"

namespace zel_binding {

// Mode names the device value(s) that an item is bound to; its value is
// the mode byte of the sealed form.
enum class Mode : uint8_t { kHost = 1, kTpm2 = 2, kTpm2Host = 3 };

// ModeName returns "host", "tpm2", "tpm2+host", or "unknown".
const char* ModeName(Mode mode);

constexpr uint8_t kSealedMagic[4] = {0x00, 0x5a, 0x44, 0x42};
constexpr uint8_t kSealedVersion = 1;
constexpr size_t kSealedHeaderSize = 6;
constexpr size_t kSealedOverhead =
    kSealedHeaderSize + kAeadNonceSize + kAeadTagSize + sizeof kSealedMagic;

// OpenStatus is the outcome of opening a sealed item.
enum class OpenStatus {
  kOk,
  kNotBound,        // too short for the sealed form, or neither magic
  kUnknownVersion,  // a format version this build does not know
  kOtherMode,       // bound by another mode than this build's
  kRefused,         // the tag does not match (another device value, another
                    // file name, or damaged bytes), or one magic is missing
  kCryptoFailed,    // libcrypto reported an error
};

// SealedHeader is what the magics and the first bytes of a sealed item say.
struct SealedHeader {
  OpenStatus status;  // kOk, kNotBound, kUnknownVersion, kOtherMode or
                      // kRefused (one magic missing)
  unsigned version;   // valid for kOk, kUnknownVersion and kOtherMode
  Mode mode;          // valid for kOk, kUnknownVersion and kOtherMode
};

// ReadSealedHeader looks at the header of |sealed| for a build of |mode|.
SealedHeader ReadSealedHeader(Span sealed, Mode mode);

// IsSealed tells whether |bytes| are a sealed form of any mode or version,
// whole or damaged (at least one magic).
bool IsSealed(Span bytes);

// SealItem replaces |sealed| with the sealed form of |plain|, bound by
// |mode| to |ikm| and |file_name| (the item file's bare name). False when
// libcrypto fails; |sealed| then holds nothing.
bool SealItem(const Libcrypto& crypto, Mode mode, Span ikm, const std::string& file_name,
              Span plain, std::vector<uint8_t>& sealed);

// OpenItem replaces |plain| with the item sealed in |sealed| (with the
// header already read as kOk). Anything but kOk leaves |plain| empty, with
// every byte it held or was given wiped: no partial plaintext.
OpenStatus OpenItem(const Libcrypto& crypto, Mode mode, Span ikm, const std::string& file_name,
                    Span sealed, std::vector<uint8_t>& plain);

}  // namespace zel_binding

#endif  // ZEL_BINDING_SEALED_ITEM_H
