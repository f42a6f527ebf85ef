// TZelSecureStoreCrypto.cpp: see TZelSecureStoreCrypto.h.
#include "TZelSecureStoreCrypto.h"

#include <cstdint>
#include <limits>

#include "HevoWipe.h"
#include "key_material.h"

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
  // Sizes are 32-bit in the cipher layer; a larger blob cannot be stored.
  if (in.GetContainer().size() > std::numeric_limits<uint32_t>::max() - 16)
    return false;
  const unsigned n = static_cast<unsigned>(in.GetContainer().size());
  const unsigned padded = PKIWB_encrypt::get_padded_payload_size(n);
  HevoWipe::Resize(out.GetContainer(), padded);
  const unsigned written = encryptor->encrypt_payload(
      egsk.GetContainer().data(), uid.GetContainer().data(),
      in.GetContainer().data(), n, out.GetContainer().data());
  return written == padded;
}

bool TZelSecureStoreCrypto::Decrypt(const THevoBlob& in, THevoBlob& out) {
  if (in.GetContainer().size() > std::numeric_limits<uint32_t>::max())
    return false;
  const unsigned n = static_cast<unsigned>(in.GetContainer().size());
  // |in| may be |out| (TZelSecureStore::Load): the size stays, and the
  // decryptor allows overlapping input and output.
  HevoWipe::Resize(out.GetContainer(), n);
  const unsigned plain = decryptor->decrypt_payload(
      egsk.GetContainer().data(), uid.GetContainer().data(),
      in.GetContainer().data(), n, out.GetContainer().data());
  // The dropped tail (the pad's room) is wiped.
  HevoWipe::Resize(out.GetContainer(), plain);
  return !out.GetContainer().empty();
}
