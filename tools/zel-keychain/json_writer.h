// json_writer.h: the JSON output of zel-keychain (list --json, verify
// --json), written by hand so that the command needs no library beyond
// the key store's.
//
// The writer produces one compact JSON text. Strings are byte strings from
// disk: well-formed UTF-8 passes as it is; quotes, backslashes and control
// characters (C0, DEL, C1) are escaped, and each byte that is not part of
// well-formed UTF-8 is written as "\u00XX", the character with the byte's
// number. So the output is always valid UTF-8 JSON, and a name that is
// ASCII or UTF-8 reads back exactly.
//
// The caller keeps the structure right (a key before each member's value,
// ends matching begins); the writer adds the commas.
#ifndef ZEL_KEYCHAIN_JSON_WRITER_H
#define ZEL_KEYCHAIN_JSON_WRITER_H

#include <cstdint>
#include <string>
#include <vector>

// JsonString returns |bytes| as a JSON string literal, quotes included.
std::string JsonString(const std::string& bytes);

class JsonWriter {
 public:
  void BeginObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void BeginArray() { Open('['); }
  void EndArray() { Close(']'); }
  // Key starts an object member; its value follows.
  void Key(const std::string& name);
  void String(const std::string& value);
  void Number(uint64_t value);
  // Member writes an object member: Key(|name|), then the value.
  void Member(const std::string& name, const std::string& value) {
    Key(name);
    String(value);
  }
  void Member(const std::string& name, uint64_t value) {
    Key(name);
    Number(value);
  }

  // Text returns the JSON text so far, followed by a line end.
  std::string Text() const { return text_ + "\n"; }

 private:
  void BeforeValue();
  void Open(char bracket);
  void Close(char bracket);

  std::string text_;
  std::vector<bool> has_members_;  // one entry per open object or array
  bool after_key_ = false;
};

#endif  // ZEL_KEYCHAIN_JSON_WRITER_H
