// text_encoding.cpp: see text_encoding.h.
#include "text_encoding.h"

#include <cstdint>

namespace {

uint8_t ByteAt(const std::string& text, size_t at) {
  return static_cast<uint8_t>(text[at]);
}

bool InRange(const std::string& text, size_t at, uint8_t low, uint8_t high) {
  return at < text.size() && ByteAt(text, at) >= low && ByteAt(text, at) <= high;
}

void AppendHexEscape(std::string& out, uint8_t byte) {
  out += "\\x";
  AppendHexByte(out, byte);
}

}  // namespace

void AppendHexByte(std::string& out, unsigned char byte) {
  static const char kHex[] = "0123456789abcdef";
  out += kHex[byte >> 4];
  out += kHex[byte & 0x0f];
}

size_t Utf8SequenceLength(const std::string& text, size_t at) {
  const uint8_t lead = ByteAt(text, at);
  if (lead < 0x80) return 1;
  // The second byte's range depends on the lead byte: it is what rules out
  // overlong forms (E0, F0), surrogates (ED) and code points above U+10FFFF
  // (F4).
  uint8_t low = 0x80, high = 0xbf;
  size_t length;
  if (lead >= 0xc2 && lead <= 0xdf) {
    length = 2;
  } else if (lead >= 0xe0 && lead <= 0xef) {
    length = 3;
    if (lead == 0xe0) low = 0xa0;
    if (lead == 0xed) high = 0x9f;
  } else if (lead >= 0xf0 && lead <= 0xf4) {
    length = 4;
    if (lead == 0xf0) low = 0x90;
    if (lead == 0xf4) high = 0x8f;
  } else {
    return 0;
  }
  if (!InRange(text, at + 1, low, high)) return 0;
  for (size_t i = 2; i < length; ++i)
    if (!InRange(text, at + i, 0x80, 0xbf)) return 0;
  return length;
}

bool IsControlAt(const std::string& text, size_t at, size_t length) {
  const uint8_t lead = ByteAt(text, at);
  if (length == 1) return lead < 0x20 || lead == 0x7f;
  return length == 2 && lead == 0xc2 && ByteAt(text, at + 1) <= 0x9f;
}

std::string Printable(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    const size_t length = Utf8SequenceLength(text, at);
    if (length == 0) {
      AppendHexEscape(out, ByteAt(text, at++));
    } else if (IsControlAt(text, at, length)) {
      // A C1 control is escaped byte by byte, as its UTF-8 bytes.
      for (size_t i = 0; i < length; ++i) AppendHexEscape(out, ByteAt(text, at + i));
      at += length;
    } else if (text[at] == '\\') {
      out += "\\\\";
      ++at;
    } else {
      out.append(text, at, length);
      at += length;
    }
  }
  return out;
}

std::string Quoted(const std::string& text) { return "'" + Printable(text) + "'"; }
