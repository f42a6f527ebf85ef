// inverse_tables.cpp: the tables of the decryption direction.
#include "table_sets.h"

namespace zel_wbgen {

InverseTableSet build_inverse_tables(const Copies& enc,
                                     const ScheduleForms& key_forms,
                                     const std::array<ByteMap, 16>& voted,
                                     const std::array<ByteMap, 16>& chained,
                                     const ByteMap& yellow,
                                     const ByteMap& blue) {
  InverseTableSet set;
  for (unsigned c = 0; c < kCopies; ++c)
    set.copy[c] = build_copy_tables(enc[c], key_forms[c]);
  set.vote = build_vote(enc, voted);
  for (unsigned i = 0; i < 16; ++i) {
    const Bytes chain_xor =
        nibble_xor_table(voted[i], identity_map(), chained[i]);
    set.chain_xor.insert(set.chain_xor.end(), chain_xor.begin(),
                         chain_xor.end());
    const ByteMap from_chained = inverse_of(chained[i]);
    for (unsigned v = 0; v < 256; ++v) {
      set.yellow.push_back(yellow[from_chained[v]]);
      set.blue.push_back(blue[from_chained[v]]);
    }
  }
  return set;
}

}  // namespace zel_wbgen
