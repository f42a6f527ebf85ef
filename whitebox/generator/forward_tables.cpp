// forward_tables.cpp: the tables of the encryption direction.
#include "table_sets.h"

namespace zel_wbgen {

ForwardTableSet build_forward_tables(const Copies& enc, const ByteMap& white,
                                     const ScheduleForms& key_forms) {
  // One input XOR serves every copy, so the copies share its output form U
  // (the caller draws them so: every copy's entry is copy 0's).
  const ByteMap& entry = enc[0].entry;
  ForwardTableSet set;
  set.input_xor = nibble_xor_table(white, identity_map(), entry);
  for (unsigned c = 0; c < kCopies; ++c)
    set.copy[c] = build_copy_tables(enc[c], key_forms[c]);
  std::array<ByteMap, 16> plain;
  plain.fill(identity_map());
  set.vote = build_vote(enc, plain);
  return set;
}

}  // namespace zel_wbgen
