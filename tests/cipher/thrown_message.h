// thrown_message.h: what a cipher call throws, as text.
//
// The cipher wrappers report failures by throwing a pointer to a constant
// string; tables of calls and expected messages compare that text.
#ifndef ZEL_TESTS_CIPHER_THROWN_MESSAGE_H
#define ZEL_TESTS_CIPHER_THROWN_MESSAGE_H

#include <string>

// kNoThrow is what ThrownMessage returns when the call returned normally.
inline const char kNoThrow[] = "(returned normally)";

// ThrownMessage runs |call| and returns the string it threw. Exceptions of
// other types pass through and fail the test as such.
template <typename Call>
std::string ThrownMessage(Call&& call) {
  try {
    call();
  } catch (const char* message) {
    return message;
  }
  return kNoThrow;
}

#endif  // ZEL_TESTS_CIPHER_THROWN_MESSAGE_H
