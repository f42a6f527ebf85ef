// TZelSecureStoreCrypto.cpp: see TZelSecureStoreCrypto.h.
#include "TZelSecureStoreCrypto.h"

#include <cstdint>
#include <limits>

#include "HevoWipe.h"
#include "key_material.h"

// A bound build (ZEL_DEVICE_BINDING other than none) seals each item for
// this device before the white-box layer encrypts it, and opens it after
// the white-box layer decrypted it: the one place where the library
// reaches the binding (binding/).
#if defined(ZEL_DEVICE_BINDING_MODE)
#include <set>

#include "HevoFileUtils.h"
#include "device_binding.h"
#include "item_context.h"
#endif

const unsigned EGSK_SIZE =
    static_cast<unsigned>(_binary_egsk_bin_end - _binary_egsk_bin_start);

namespace {

void AppendBytes(THevoBlob& blob, const unsigned char* begin,
                 const unsigned char* end) {
  // Reserved first: growing one byte at a time would free key bytes in
  // every block it outgrows.
  blob.GetContainer().reserve(static_cast<size_t>(end - begin));
  for (const unsigned char* p = begin; p != end; ++p)
    blob.GetContainer().push_back(*p);
}

// CbcDecrypt is the white-box layer of Decrypt: |in| into |out| (which may
// be |in|), the padding stripped.
void CbcDecrypt(PKIWB_decrypt& decryptor, const THevoBlob& egsk, const THevoBlob& uid,
                const THevoBlob& in, THevoBlob& out) {
  const unsigned n = static_cast<unsigned>(in.GetContainer().size());
  // |in| may be |out| (TZelSecureStore::Load): the size stays, and the
  // decryptor allows overlapping input and output.
  HevoWipe::Resize(out.GetContainer(), n);
  const unsigned plain = decryptor.decrypt_payload(
      egsk.GetContainer().data(), uid.GetContainer().data(),
      in.GetContainer().data(), n, out.GetContainer().data());
  // The dropped tail (the pad's room) is wiped.
  HevoWipe::Resize(out.GetContainer(), plain);
}

// CbcEncrypt is the white-box layer of Encrypt: |size| bytes at |in|,
// padded, into |out|.
bool CbcEncrypt(PKIWB_encrypt& encryptor, const THevoBlob& egsk, const THevoBlob& uid,
                const uint8_t* in, size_t size, THevoBlob& out) {
  // Sizes are 32-bit in the cipher layer; a larger blob cannot be stored.
  if (size > std::numeric_limits<uint32_t>::max() - 16) return false;
  const unsigned n = static_cast<unsigned>(size);
  const unsigned padded = PKIWB_encrypt::get_padded_payload_size(n);
  HevoWipe::Resize(out.GetContainer(), padded);
  const unsigned written = encryptor.encrypt_payload(
      egsk.GetContainer().data(), uid.GetContainer().data(), in, n,
      out.GetContainer().data());
  return written == padded;
}

#if defined(ZEL_DEVICE_BINDING_MODE)
constexpr zel_binding::Mode kBindingMode =
    static_cast<zel_binding::Mode>(ZEL_DEVICE_BINDING_MODE);

std::string ContextFileName() {
  const ZelItemContext* context = ZelItemContext::Current();
  return context != nullptr ? context->FileName() : std::string();
}

// FindBoundFileBeside returns the name of an item file in the directory of
// |path| whose white-box plaintext is a sealed form, or "". Asked only when
// a store finds the host secret missing: a new secret must not orphan the
// files bound to the lost one.
std::string FindBoundFileBeside(const std::string& path, PKIWB_decrypt& decryptor,
                                const THevoBlob& egsk, const THevoBlob& uid) {
  const std::string::size_type slash = path.rfind('/');
  const std::string dir =
      slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  std::set<std::string> files;
  HevoFileUtils::GetFiles(dir, files);
  for (const std::string& file : files) {
    THevoBlob bytes;
    if (!bytes.Load(dir + "/" + file,
                    PKIWB_encrypt::get_padded_payload_size(TZelSecureStore::MAX_ITEM_SIZE)))
      continue;
    try {
      CbcDecrypt(decryptor, egsk, uid, bytes, bytes);
    } catch (const char*) {
      continue;  // malformed: not an item file of this key material
    }
    if (zel_binding::IsSealed({bytes.GetContainer().data(), bytes.GetContainer().size()}))
      return file;
  }
  return "";
}
#endif

}  // namespace

TZelSecureStoreCrypto::TZelSecureStoreCrypto() {
  if (EGSK_SIZE != 16 && EGSK_SIZE != 32)
    throw "ASSERTION FAILED: EGSK_SIZE == 16 || EGSK_SIZE == 32";
  decryptor.reset(new PKIWB_decrypt(EGSK_SIZE));
  encryptor.reset(new PKIWB_encrypt(EGSK_SIZE));
  AppendBytes(egsk, _binary_egsk_bin_start, _binary_egsk_bin_end);
  AppendBytes(uid, _binary_uid_bin_start, _binary_uid_bin_end);
}

// Members go in reverse order: uid, egsk (both wiped by the blob), then the
// encryptor and the decryptor.
TZelSecureStoreCrypto::~TZelSecureStoreCrypto() = default;

bool TZelSecureStoreCrypto::Encrypt(const THevoBlob& in, THevoBlob& out) {
  const std::vector<uint8_t>& bytes = in.GetContainer();
#if defined(ZEL_DEVICE_BINDING_MODE)
  // An item shorter than a block goes to the white-box layer unsealed, which
  // refuses it by throwing, as in an unbound build.
  if (bytes.size() >= AES_BLOCK_SIZE) {
    // The sealed form must still fit the bound of a loaded file.
    if (bytes.size() > TZelSecureStore::MAX_ITEM_SIZE - zel_binding::kSealedOverhead) return false;
    const ZelItemContext* context = ZelItemContext::Current();
    zel_binding::FindBoundFile find_bound_file;
    if (context != nullptr)
      find_bound_file = [this, context] {
        return FindBoundFileBeside(context->Path(), *decryptor, egsk, uid);
      };
    THevoBlob sealed;  // wiped when it goes
    if (!zel_binding::BindItem(kBindingMode, ContextFileName(),
                               zel_binding::Span{bytes.data(), bytes.size()},
                               sealed.GetContainer(), find_bound_file))
      return false;
    return CbcEncrypt(*encryptor, egsk, uid, sealed.GetContainer().data(),
                      sealed.GetContainer().size(), out);
  }
#endif
  return CbcEncrypt(*encryptor, egsk, uid, bytes.data(), bytes.size(), out);
}

bool TZelSecureStoreCrypto::Decrypt(const THevoBlob& in, THevoBlob& out) {
  if (in.GetContainer().size() > std::numeric_limits<uint32_t>::max())
    return false;
  CbcDecrypt(*decryptor, egsk, uid, in, out);
#if defined(ZEL_DEVICE_BINDING_MODE)
  // What the white-box layer gave is the sealed form: it must open for this
  // device and this file, else nothing of it is returned.
  if (!out.GetContainer().empty()) {
    ZelItemContext* context = ZelItemContext::Current();
    const bool migrating = context != nullptr && context->AcceptsUnbound();
    const zel_binding::Unbound result = zel_binding::UnbindItem(
        kBindingMode, ContextFileName(), out.GetContainer(), migrating);
    if (result == zel_binding::Unbound::kNotBound && migrating) context->NoteUnbound();
    else if (result != zel_binding::Unbound::kOk) return false;
  }
#endif
  return !out.GetContainer().empty();
}
