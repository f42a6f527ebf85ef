// wycheproof_cases.h: the cases of a Project Wycheproof symmetric-cipher
// vector file ("IndCpaTest" groups: key, iv, msg, ct, result).
#ifndef ZEL_TESTS_CIPHER_WYCHEPROOF_CASES_H
#define ZEL_TESTS_CIPHER_WYCHEPROOF_CASES_H

#include <string>
#include <vector>

#include "hex.h"

struct WycheproofCase {
  int tc_id;
  std::string comment;
  unsigned key_bits;  // the group's key size
  Bytes key;
  Bytes iv;
  Bytes msg;
  Bytes ct;
  bool valid;  // result "valid"; "invalid" otherwise ("acceptable" throws)
};

struct WycheproofFile {
  long long number_of_tests;  // as the file's header states it
  std::vector<WycheproofCase> cases;
};

// ReadWycheproofFile reads every case of every group of |path|. It throws
// std::runtime_error on a file of another shape or a result other than
// "valid" and "invalid", which this cipher's tests have no rule for.
WycheproofFile ReadWycheproofFile(const std::string& path);

#endif  // ZEL_TESTS_CIPHER_WYCHEPROOF_CASES_H
