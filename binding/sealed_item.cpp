// sealed_item.cpp: see sealed_item.h.
#include "sealed_item.h"

#include "HevoWipe.h"

namespace zel_binding {
namespace {

const char kSalt[] = "zel_secure_store device binding";
const char kInfoLabel[] = "item key v1";

// ItemKey holds one item's GCM key and wipes it when it goes.
struct ItemKey {
  uint8_t bytes[kAeadKeySize];
  ~ItemKey() { HevoWipe::Wipe(bytes, sizeof bytes); }
};

bool HasMagic(const uint8_t* at) {
  for (size_t i = 0; i < sizeof kSealedMagic; ++i)
    if (at[i] != kSealedMagic[i]) return false;
  return true;
}

bool DeriveItemKey(const Libcrypto& crypto, Mode mode, Span ikm, const std::string& file_name,
                   ItemKey& key) {
  std::vector<uint8_t> info(kInfoLabel, kInfoLabel + sizeof kInfoLabel);  // with its NUL
  info.push_back(static_cast<uint8_t>(mode));
  info.insert(info.end(), file_name.begin(), file_name.end());
  const Span salt{reinterpret_cast<const uint8_t*>(kSalt), sizeof kSalt - 1};
  return HkdfSha256(crypto, ikm, salt, Span{info.data(), info.size()}, key.bytes,
                    sizeof key.bytes);
}

}  // namespace

const char* ModeName(Mode mode) {
  switch (mode) {
    case Mode::kHost: return "host";
    case Mode::kTpm2: return "tpm2";
    case Mode::kTpm2Host: return "tpm2+host";
  }
  return "unknown";
}

SealedHeader ReadSealedHeader(Span sealed, Mode mode) {
  if (sealed.size < kSealedOverhead) return {OpenStatus::kNotBound, 0, mode};
  const bool head = HasMagic(sealed.data);
  const bool tail = HasMagic(sealed.data + sealed.size - sizeof kSealedMagic);
  if (!head && !tail) return {OpenStatus::kNotBound, 0, mode};
  if (!head || !tail) return {OpenStatus::kRefused, 0, mode};
  const unsigned version = sealed.data[4];
  const Mode found = static_cast<Mode>(sealed.data[5]);
  if (version != kSealedVersion) return {OpenStatus::kUnknownVersion, version, found};
  if (found != mode) return {OpenStatus::kOtherMode, version, found};
  return {OpenStatus::kOk, version, found};
}

bool IsSealed(Span bytes) {
  return ReadSealedHeader(bytes, Mode::kHost).status != OpenStatus::kNotBound;
}

bool SealItem(const Libcrypto& crypto, Mode mode, Span ikm, const std::string& file_name,
              Span plain, std::vector<uint8_t>& sealed) {
  HevoWipe::Resize(sealed, kSealedOverhead + plain.size);
  uint8_t* header = sealed.data();
  for (size_t i = 0; i < sizeof kSealedMagic; ++i)
    header[i] = sealed[sealed.size() - sizeof kSealedMagic + i] = kSealedMagic[i];
  header[4] = kSealedVersion;
  header[5] = static_cast<uint8_t>(mode);
  uint8_t* nonce = header + kSealedHeaderSize;
  ItemKey key;
  const bool ok = RandomBytes(crypto, nonce, kAeadNonceSize) &&
                  DeriveItemKey(crypto, mode, ikm, file_name, key) &&
                  AesGcmSeal(crypto, key.bytes, nonce, Span{header, kSealedHeaderSize}, plain,
                             nonce + kAeadNonceSize);
  if (!ok) HevoWipe::Clear(sealed);
  return ok;
}

OpenStatus OpenItem(const Libcrypto& crypto, Mode mode, Span ikm, const std::string& file_name,
                    Span sealed, std::vector<uint8_t>& plain) {
  HevoWipe::Clear(plain);
  const SealedHeader header = ReadSealedHeader(sealed, mode);
  if (header.status != OpenStatus::kOk) return header.status;
  ItemKey key;
  if (!DeriveItemKey(crypto, mode, ikm, file_name, key)) return OpenStatus::kCryptoFailed;
  // The plaintext goes to a block of its own, wiped unless the tag matched.
  std::vector<uint8_t> opened(sealed.size - kSealedOverhead);
  const uint8_t* nonce = sealed.data + kSealedHeaderSize;
  const size_t ciphertext_and_tag = opened.size() + kAeadTagSize;
  const bool ok = AesGcmOpen(crypto, key.bytes, nonce, Span{sealed.data, kSealedHeaderSize},
                             Span{nonce + kAeadNonceSize, ciphertext_and_tag}, opened.data());
  if (!ok) {
    HevoWipe::Clear(opened);
    return OpenStatus::kRefused;
  }
  plain.swap(opened);
  HevoWipe::Clear(opened);
  return OpenStatus::kOk;
}

}  // namespace zel_binding
