// first_core_algebraic.cpp: the algebraic key recovery of the first
// white-box core, aware of its table layout (wb_tables.h). Drop this file
// when the core's layout changes; key_form.cpp is the layout-free scan.
//
// The key-schedule XOR table uses one key form KE on both inputs and the
// output, so it is a group table whose identity row is KE(0); the round
// constants KE(1), KE(2), ..., KE(0x80) are a basis, so XOR-combining them
// through that table gives KE(x) for every x; the encoded S-box table
// confirms it (sbox[KE(a)] = KE(S(a))). The per-position unprotect table
// applied to the protected key then yields KE of each raw key byte.
#include <chrono>
#include <string>

#include "aes_util.h"
#include "attacks.h"
#include "wb_tables.h"

namespace zel_audit {

std::vector<Outcome> run_first_core_algebraic(
    const std::vector<uint8_t>& protected_key,
    const std::vector<uint8_t>& raw_key, bool decryptor) {
  const auto start = std::chrono::steady_clock::now();
  const zel_whitebox::KeyTables& t =
      decryptor ? zel_whitebox::dec_key_tables : zel_whitebox::enc_key_tables;
  Outcome o;
  o.attack = "key form, first-core algebra";
  o.key_bytes = static_cast<unsigned>(protected_key.size());
  o.cost = "static tables only";
  int identity = -1;
  for (unsigned r = 0; r < 256 && identity < 0; ++r) {
    bool id = true;
    for (unsigned b = 0; b < 256 && id; ++b) id = t.xor_[r * 256 + b] == b;
    if (id) identity = static_cast<int>(r);
  }
  std::vector<uint8_t> key;
  if (identity >= 0) {
    uint8_t ke[256], from_ke[256];
    bool consistent = true;
    for (unsigned x = 0; x < 256; ++x) {
      unsigned acc = static_cast<unsigned>(identity);
      for (unsigned bit = 0; bit < 8; ++bit)
        if (x >> bit & 1) acc = t.xor_[acc * 256 + t.rcon[bit]];
      ke[x] = static_cast<uint8_t>(acc);
      from_ke[acc] = static_cast<uint8_t>(x);
    }
    for (unsigned a = 0; a < 256; ++a)
      consistent = consistent && t.sbox[ke[a]] == ke[sbox()[a]];
    const uint8_t* unprotect =
        protected_key.size() == 16 ? t.unprotect_128 : t.unprotect_256;
    if (consistent)
      for (size_t j = 0; j < protected_key.size(); ++j)
        key.push_back(from_ke[unprotect[j * 256 + protected_key[j]]]);
  }
  o.recovered = count_equal(key, raw_key);
  o.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  o.detail = identity >= 0 ? "identity row KE(0) = " + std::to_string(identity)
                           : "no identity row";
  return {o};
}

}  // namespace zel_audit
