// text_encoding.h: how zel-keychain shows names that came from disk or from
// the command line. Keychain names and item ids are byte strings: they may
// hold control characters (a line end, a terminal escape) or bytes that are
// not UTF-8, and none of them may reach the terminal or a JSON reader as
// they are.
#ifndef ZEL_KEYCHAIN_TEXT_ENCODING_H
#define ZEL_KEYCHAIN_TEXT_ENCODING_H

#include <cstddef>
#include <string>

// Utf8SequenceLength returns the length (1 to 4) of the well-formed UTF-8
// sequence that starts at |text[at]|, or 0 when the bytes there are not
// one (a stray continuation byte, an overlong form, a surrogate, a code
// point above U+10FFFF, a cut-off sequence).
size_t Utf8SequenceLength(const std::string& text, size_t at);

// IsControlAt tells whether the well-formed sequence of |length| bytes at
// |text[at]| is a control character: C0 (below 0x20), DEL or C1 (U+0080 to
// U+009F, which some terminals obey as escapes).
bool IsControlAt(const std::string& text, size_t at, size_t length);

// AppendHexByte appends |byte| as two lower-case hex digits.
void AppendHexByte(std::string& out, unsigned char byte);

// Printable returns |text| for a terminal line: UTF-8 text as it is, a
// backslash as "\\", every control character and every byte that is not
// part of well-formed UTF-8 as "\xHH".
std::string Printable(const std::string& text);

// Quoted returns Printable(text) between single quotes, for messages.
std::string Quoted(const std::string& text);

#endif  // ZEL_KEYCHAIN_TEXT_ENCODING_H
