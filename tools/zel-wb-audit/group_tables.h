// group_tables.h: XOR tables in one encoding ("group tables") in a region
// of static tables, found without knowledge of the layout.
//
// A group table computes XOR with one encoding E on both inputs and the
// output: T[E(a)][E(b)] = E(a ^ b). It tells E up to a linear map, which
// one more encoded table of known meaning fixes (key_form.cpp). Two
// shapes are searched:
//   - byte-wide, 64 KiB, T[a * 256 + b], at every 64-byte boundary;
//   - nibble-wide, a 16 x 16 table of 4-bit values (T[a << 4 | b]), at
//     every 16-byte boundary, either one value per byte or packed, two
//     tables in the high and the low nibbles of the same 256 bytes (each
//     nibble plane is tried as a table). Two of them, one per half, make a
//     byte-wide XOR in a nibble encoding. Ordered pairs of distinct nibble
//     group tables are offered as (high, low): all of them when there are
//     at most 16, else neighbours in the region only.
// A table counts when its rows are permutations, one row is the identity
// (that row's index is E(0)), and on samples it is commutative, associative
// and every element is its own inverse: a group of exponent 2, which is
// XOR under some encoding.
#ifndef ZEL_WB_AUDIT_GROUP_TABLES_H
#define ZEL_WB_AUDIT_GROUP_TABLES_H

#include <array>
#include <cstdint>
#include <vector>

#include "target.h"

namespace zel_audit {

// NibbleTable is a 16 x 16 table of 4-bit values, one per byte (a copy:
// packed tables are split into their planes).
using NibbleTable = std::array<uint8_t, 256>;

// GroupXor is one byte-wide XOR in an encoding: a 64 KiB table in the
// region (|byte_table|), or a high and a low nibble table.
struct GroupXor {
  const uint8_t* byte_table = nullptr;
  NibbleTable high{}, low{};
  uint8_t identity = 0;  // E(0)
  uint8_t apply(uint8_t a, uint8_t b) const {
    if (byte_table != nullptr) return byte_table[a * 256 + b];
    return static_cast<uint8_t>(high[(a & 0xf0) | b >> 4] << 4 |
                                low[(a & 15) << 4 | (b & 15)]);
  }
};

struct GroupScan {
  std::vector<GroupXor> groups;  // byte-wide tables, then nibble pairs
  unsigned byte_tables = 0;      // 64 KiB group tables
  unsigned latin_squares = 0;    // 16 x 16 Latin squares of 4-bit values
  unsigned nibble_tables = 0;    // those of them that are group tables
};

GroupScan find_group_tables(const Region& tables);

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_GROUP_TABLES_H
