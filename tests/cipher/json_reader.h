// json_reader.h: a small JSON reader for test vector files.
//
// It reads objects, arrays, strings (escapes of the Basic Multilingual Plane),
// numbers, true, false and null into a tree of JsonValue. It checks the
// structure but is lax about lexical detail (number syntax, raw control
// characters in strings): it serves vector files we ship, not untrusted
// input. Numbers keep their literal text and are converted on access.
#ifndef ZEL_TESTS_CIPHER_JSON_READER_H
#define ZEL_TESTS_CIPHER_JSON_READER_H

#include <string>
#include <vector>

class JsonValue {
 public:
  enum class Kind { kNull, kBool, kNumber, kString, kArray, kObject };

  Kind kind = Kind::kNull;
  bool boolean = false;
  std::string text;  // a string's value, or a number's literal
  std::vector<JsonValue> items;    // array elements, or object values
  std::vector<std::string> names;  // object member names, beside |items|

  // The accessors throw std::runtime_error when the value is of another
  // kind or the member is missing: a vector file of an unexpected shape
  // must fail the test, not skip it.
  const JsonValue& operator[](const std::string& name) const;
  const std::string& AsString() const;
  long long AsInteger() const;
  const std::vector<JsonValue>& AsArray() const;
};

// ParseJson parses |document|; it throws std::runtime_error naming the
// offset of the first error.
JsonValue ParseJson(const std::string& document);

// ReadJsonFile reads and parses the file at |path|.
JsonValue ReadJsonFile(const std::string& path);

#endif  // ZEL_TESTS_CIPHER_JSON_READER_H
