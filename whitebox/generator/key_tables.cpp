// key_tables.cpp: the tables that turn the protected key into a core's key
// form and run the key schedule on it.
#include <cstddef>

#include "aes_reference.h"
#include "table_sets.h"

namespace zel_wbgen {
namespace {

Bytes unprotect_table(const ByteMap& key_form,
                      const std::vector<ByteMap>& protect) {
  Bytes table(protect.size() * 256);
  for (std::size_t j = 0; j < protect.size(); ++j)
    for (unsigned k = 0; k < 256; ++k)
      table[j * 256 + protect[j][k]] = key_form[k];
  return table;
}

}  // namespace

KeyTableSet build_key_tables(const ByteMap& key_form,
                             const std::vector<ByteMap>& protect_128,
                             const std::vector<ByteMap>& protect_256) {
  const ByteMap from_key = inverse_of(key_form);
  KeyTableSet set;
  set.unprotect_128 = unprotect_table(key_form, protect_128);
  set.unprotect_256 = unprotect_table(key_form, protect_256);
  set.xor_ = nibble_xor_table(key_form, key_form, key_form);
  set.sbox.resize(256);
  for (unsigned a = 0; a < 256; ++a)
    set.sbox[a] = key_form[zel_ref::aes_sbox(from_key[a])];
  uint8_t rcon = 1;
  for (unsigned step = 0; step < 10; ++step) {
    set.rcon.push_back(key_form[rcon]);
    rcon = zel_ref::gf_mul(rcon, 2);
  }
  return set;
}

}  // namespace zel_wbgen
