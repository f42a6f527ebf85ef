// rsp_reader.h: reads the AES-CBC known-answer files of the NIST CAVP
// (".rsp": "[ENCRYPT]"/"[DECRYPT]" sections of "COUNT =", "KEY =", "IV =",
// "PLAINTEXT =", "CIPHERTEXT =" records separated by blank lines).
#ifndef ZEL_TESTS_CIPHER_RSP_READER_H
#define ZEL_TESTS_CIPHER_RSP_READER_H

#include <string>
#include <vector>

#include "hex.h"

struct CavpCase {
  bool encrypt_section;  // from "[ENCRYPT]", else "[DECRYPT]"
  int count;
  Bytes key;
  Bytes iv;
  Bytes plaintext;
  Bytes ciphertext;
};

// ReadCavpFile returns every record of |path| in file order. It throws
// std::runtime_error when the file cannot be opened or a record lacks one
// of its five fields or appears outside a section.
std::vector<CavpCase> ReadCavpFile(const std::string& path);

#endif  // ZEL_TESTS_CIPHER_RSP_READER_H
