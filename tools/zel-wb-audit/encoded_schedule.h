// encoded_schedule.h: the key schedule of the audit's weak model
// "schedule": what the white-box core's first key setups held in their
// static tables, so that the key-form scan must show it can read a key
// out of such tables.
//
// All key bytes live in one encoding E. The tables, in one block that the
// model exposes as its tables() region:
//   unprotect[j][p] = E(Q[j](p)), one 256-byte table per key position,
//                   applied to the protected key byte p (Q[j] is a random
//                   bijection with Q[j](protected[j]) = raw[j]);
//   sbox[x]       = E(S(E^-1(x))), the encoded S-box of SubWord;
//   xor           = XOR in E on both inputs and the output: a 64 KiB table
//                   T[a * 256 + b] for AES-128 keys (E a byte encoding,
//                   the first core's shape), two 16 x 16 nibble tables
//                   [2][256] for AES-256 keys (E a nibble encoding, the
//                   later shape: [0][a_hi << 4 | b_hi] is the high nibble);
//   rcon[i]       = E(round constant i), 10 bytes.
// expand runs the key schedule on encoded bytes through these tables and
// decodes the round keys with E^-1, which is held outside the region.
//
// Deterministic: the encodings come from a fixed seed.
#ifndef ZEL_WB_AUDIT_ENCODED_SCHEDULE_H
#define ZEL_WB_AUDIT_ENCODED_SCHEDULE_H

#include <cstdint>
#include <vector>

#include "target.h"

namespace zel_audit {

class EncodedSchedule {
 public:
  // |raw_key| and |protected_key| have 16 or 32 bytes.
  EncodedSchedule(const std::vector<uint8_t>& raw_key,
                  const std::vector<uint8_t>& protected_key);
  ~EncodedSchedule();
  EncodedSchedule(const EncodedSchedule&) = delete;
  EncodedSchedule& operator=(const EncodedSchedule&) = delete;

  // expand writes the rounds + 1 round keys of the key whose protected form
  // is |protected_key|, through the (possibly faulted) tables.
  void expand(const std::vector<uint8_t>& protected_key,
              uint8_t round_key[15][16]) const;
  Region tables() { return {tables_.data(), tables_.size()}; }

 private:
  uint8_t encoded_xor(uint8_t a, uint8_t b) const;

  bool nibble_;
  size_t unprotect_, sbox_, xor_, rcon_;  // offsets into tables_
  std::vector<uint8_t> tables_;
  uint8_t decode_[256];  // E^-1
};

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_ENCODED_SCHEDULE_H
