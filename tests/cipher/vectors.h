// vectors.h: the AES-CBC vectors that the cipher tests run, from four
// sources in one shape: the NIST CAVP known-answer and multi-block files
// (whole blocks, no padding), Project Wycheproof and the OpenSSL-made set
// (PKCS#7 padding, Wycheproof's JSON shape), and the golden item files
// (padded, under the development keys). See tests/vectors/README.md.
#ifndef ZEL_TESTS_CIPHER_VECTORS_H
#define ZEL_TESTS_CIPHER_VECTORS_H

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

struct Vector {
  std::string name;  // file and case, for failure messages
  Bytes key;         // raw AES key
  Bytes iv;
  Bytes msg;
  Bytes ct;
  bool padded;  // ct carries PKCS#7 padding; else msg is whole blocks
  bool valid;   // false: ct is not a well-padded ciphertext of msg
};

// Each returns every vector of its source; they throw std::runtime_error
// on a file they cannot read.
std::vector<Vector> NistVectors();
std::vector<Vector> JsonVectors(const std::string& file);  // under tests/vectors
std::vector<Vector> GoldenVectors();

#endif  // ZEL_TESTS_CIPHER_VECTORS_H
