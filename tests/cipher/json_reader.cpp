#include "json_reader.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

class Parser {
 public:
  explicit Parser(const std::string& document) : text_(document) {}

  JsonValue ParseDocument() {
    JsonValue value = ParseValue();
    SkipSpace();
    if (pos_ != text_.size()) Fail("trailing characters");
    return value;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error("JSON: " + what + " at offset " +
                             std::to_string(pos_));
  }

  void SkipSpace() {
    while (pos_ < text_.size() &&
           (text_[pos_] == ' ' || text_[pos_] == '\t' || text_[pos_] == '\n' ||
            text_[pos_] == '\r'))
      ++pos_;
  }

  char Peek() {
    SkipSpace();
    if (pos_ >= text_.size()) Fail("unexpected end");
    return text_[pos_];
  }

  void Expect(char c) {
    if (Peek() != c) Fail(std::string("expected '") + c + "'");
    ++pos_;
  }

  void ExpectWord(const char* word) {
    const std::string expected(word);
    if (text_.compare(pos_, expected.size(), expected) != 0)
      Fail("expected " + expected);
    pos_ += expected.size();
  }

  JsonValue ParseValue() {
    JsonValue value;
    switch (Peek()) {
      case '{':
        ParseObject(value);
        break;
      case '[':
        ParseArray(value);
        break;
      case '"':
        value.kind = JsonValue::Kind::kString;
        value.text = ParseString();
        break;
      case 't':
        ExpectWord("true");
        value.kind = JsonValue::Kind::kBool;
        value.boolean = true;
        break;
      case 'f':
        ExpectWord("false");
        value.kind = JsonValue::Kind::kBool;
        break;
      case 'n':
        ExpectWord("null");
        break;
      default:
        value.kind = JsonValue::Kind::kNumber;
        value.text = ParseNumber();
    }
    return value;
  }

  void ParseObject(JsonValue& value) {
    value.kind = JsonValue::Kind::kObject;
    Expect('{');
    if (Peek() == '}') {
      ++pos_;
      return;
    }
    for (;;) {
      if (Peek() != '"') Fail("expected a member name");
      value.names.push_back(ParseString());
      Expect(':');
      value.items.push_back(ParseValue());
      if (Peek() == '}') {
        ++pos_;
        return;
      }
      Expect(',');
    }
  }

  void ParseArray(JsonValue& value) {
    value.kind = JsonValue::Kind::kArray;
    Expect('[');
    if (Peek() == ']') {
      ++pos_;
      return;
    }
    for (;;) {
      value.items.push_back(ParseValue());
      if (Peek() == ']') {
        ++pos_;
        return;
      }
      Expect(',');
    }
  }

  std::string ParseNumber() {
    const size_t start = pos_;
    const std::string kNumberChars = "+-0123456789.eE";
    while (pos_ < text_.size() &&
           kNumberChars.find(text_[pos_]) != std::string::npos)
      ++pos_;
    if (pos_ == start) Fail("unexpected character");
    return text_.substr(start, pos_ - start);
  }

  unsigned ParseHex4() {
    if (pos_ + 4 > text_.size()) Fail("short \\u escape");
    unsigned code = 0;
    for (int i = 0; i < 4; ++i) {
      const char c = text_[pos_++];
      code <<= 4;
      if (c >= '0' && c <= '9') {
        code |= static_cast<unsigned>(c - '0');
      } else if (c >= 'a' && c <= 'f') {
        code |= static_cast<unsigned>(c - 'a' + 10);
      } else if (c >= 'A' && c <= 'F') {
        code |= static_cast<unsigned>(c - 'A' + 10);
      } else {
        Fail("bad \\u escape");
      }
    }
    return code;
  }

  // AppendUtf8 encodes a code point of the Basic Multilingual Plane.
  static void AppendUtf8(std::string& out, unsigned code) {
    if (code < 0x80) {
      out += static_cast<char>(code);
    } else if (code < 0x800) {
      out += static_cast<char>(0xc0 | code >> 6);
      out += static_cast<char>(0x80 | (code & 0x3f));
    } else {
      out += static_cast<char>(0xe0 | code >> 12);
      out += static_cast<char>(0x80 | (code >> 6 & 0x3f));
      out += static_cast<char>(0x80 | (code & 0x3f));
    }
  }

  std::string ParseString() {
    // Escape letters and what they stand for, "\u" aside.
    static const char kEscapes[] = "\"\"\\\\//b\bf\fn\nr\rt\t";
    Expect('"');
    std::string out;
    for (;;) {
      if (pos_ >= text_.size()) Fail("unterminated string");
      const char c = text_[pos_++];
      if (c == '"') return out;
      if (c != '\\') {
        out += c;
        continue;
      }
      if (pos_ >= text_.size()) Fail("unterminated escape");
      const char escape = text_[pos_++];
      if (escape == 'u') {
        const unsigned code = ParseHex4();
        // Surrogate pairs are refused: vector files have no use for them.
        if (code >= 0xd800 && code <= 0xdfff) Fail("surrogate escape");
        AppendUtf8(out, code);
        continue;
      }
      const char* entry = kEscapes;
      while (*entry != '\0' && *entry != escape) entry += 2;
      if (*entry == '\0') Fail("bad escape");
      out += entry[1];
    }
  }

  const std::string& text_;
  size_t pos_ = 0;
};

[[noreturn]] void WrongKind(const char* wanted) {
  throw std::runtime_error(std::string("JSON value is not ") + wanted);
}

}  // namespace

const JsonValue& JsonValue::operator[](const std::string& name) const {
  if (kind != Kind::kObject) WrongKind("an object");
  for (size_t i = 0; i < names.size(); ++i)
    if (names[i] == name) return items[i];
  throw std::runtime_error("JSON object has no member \"" + name + "\"");
}

const std::string& JsonValue::AsString() const {
  if (kind != Kind::kString) WrongKind("a string");
  return text;
}

long long JsonValue::AsInteger() const {
  if (kind != Kind::kNumber) WrongKind("a number");
  size_t used = 0;
  const long long value = std::stoll(text, &used);
  if (used != text.size()) WrongKind("an integer");
  return value;
}

const std::vector<JsonValue>& JsonValue::AsArray() const {
  if (kind != Kind::kArray) WrongKind("an array");
  return items;
}

JsonValue ParseJson(const std::string& document) {
  return Parser(document).ParseDocument();
}

JsonValue ReadJsonFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot open " + path);
  std::ostringstream contents;
  contents << file.rdbuf();
  return ParseJson(contents.str());
}
