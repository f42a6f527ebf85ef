// json_writer.cpp: see json_writer.h.
#include "json_writer.h"

#include "text_encoding.h"

namespace {

// AppendUnicodeEscape writes the character |code| (below U+0100) as "\u00XX".
void AppendUnicodeEscape(std::string& out, unsigned char code) {
  out += "\\u00";
  AppendHexByte(out, code);
}

}  // namespace

std::string JsonString(const std::string& bytes) {
  std::string out = "\"";
  for (size_t at = 0; at < bytes.size();) {
    const unsigned char byte = static_cast<unsigned char>(bytes[at]);
    const size_t length = Utf8SequenceLength(bytes, at);
    if (length == 0) {
      AppendUnicodeEscape(out, byte);  // not UTF-8: the byte's number
      ++at;
    } else if (IsControlAt(bytes, at, length)) {
      // C0 and DEL are one byte; a C1 control is U+0080 to U+009F, whose
      // number is its second UTF-8 byte.
      AppendUnicodeEscape(out, length == 1 ? byte
                                           : static_cast<unsigned char>(bytes[at + 1]));
      at += length;
    } else if (byte == '"' || byte == '\\') {
      out += '\\';
      out += static_cast<char>(byte);
      ++at;
    } else {
      out.append(bytes, at, length);
      at += length;
    }
  }
  return out + "\"";
}

void JsonWriter::BeforeValue() {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (!has_members_.empty()) {
    if (has_members_.back()) text_ += ',';
    has_members_.back() = true;
  }
}

void JsonWriter::Open(char bracket) {
  BeforeValue();
  text_ += bracket;
  has_members_.push_back(false);
}

void JsonWriter::Close(char bracket) {
  text_ += bracket;
  has_members_.pop_back();
}

void JsonWriter::Key(const std::string& name) {
  BeforeValue();
  text_ += JsonString(name);
  text_ += ':';
  after_key_ = true;
}

void JsonWriter::String(const std::string& value) {
  BeforeValue();
  text_ += JsonString(value);
}

void JsonWriter::Number(uint64_t value) {
  BeforeValue();
  text_ += std::to_string(value);
}
