// hex.h: hexadecimal text to bytes and back, for test vectors.
#ifndef ZEL_TESTS_CIPHER_HEX_H
#define ZEL_TESTS_CIPHER_HEX_H

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

// HexToBytes decodes |hex| (either case, no separators); it throws
// std::invalid_argument on an odd length or a non-hex character, so that a
// damaged vector file fails loudly instead of yielding short vectors.
Bytes HexToBytes(const std::string& hex);

// BytesToHex encodes |bytes| in lower case.
std::string BytesToHex(const Bytes& bytes);

#endif  // ZEL_TESTS_CIPHER_HEX_H
