// check_value.h: the check value that ties a protected store key to its
// seed.
//
// zel-egsk writes one beside every protected key it makes (new, wrap), in
// the file KEY.check: one line "zel-egsk-check aes128 0123456789abcdef\n",
// the key size and the key check value (KCV) of the raw store key, the
// first 8 bytes of the AES encryption of a zero block under it. Only the
// seed turns the protected key into that raw key, so the value matches for
// the seed the key was made with and, but for one chance in 2^64, for no
// other. It gives away neither the seed nor the raw key: recovering the key
// from it is a brute force of AES. The build runs "zel-egsk check" before
// it embeds a protected key.
//
// A key re-wrapped under another seed keeps its check value: the value
// names the raw key, the seed is the check's other input.
#ifndef ZEL_TOOLS_EGSK_CHECK_VALUE_H
#define ZEL_TOOLS_EGSK_CHECK_VALUE_H

#include <cstdint>
#include <string>

namespace zel_egsk {

// check_line returns the check file's line for the raw key |raw| of
// |key_len| bytes (16 or 32).
std::string check_line(const uint8_t* raw, unsigned key_len);

// check_line_of_protected returns the line for |protected_key| unwrapped
// under |seed|.
std::string check_line_of_protected(const uint8_t seed[32],
                                    const uint8_t* protected_key,
                                    unsigned key_len);

}  // namespace zel_egsk

#endif  // ZEL_TOOLS_EGSK_CHECK_VALUE_H
