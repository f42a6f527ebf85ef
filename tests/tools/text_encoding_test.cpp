// How zel-keychain shows names from disk: as JSON strings (valid UTF-8
// JSON whatever the bytes) and as terminal text (no control character
// passes). The edge cases of UTF-8 (overlong forms, surrogates, code
// points above U+10FFFF, cut-off sequences) follow RFC 3629.
#include <gtest/gtest.h>

#include "json_writer.h"
#include "text_encoding.h"

namespace {

TEST(KeychainTextEncoding, JsonAndTerminalFormsOfNames) {
  const struct {
    std::string name, json, printable;
  } rows[] = {
      {"dev", R"("dev")", "dev"},
      {"a\"b\\c", R"("a\"b\\c")", R"(a"b\\c)"},
      {"\x01\n\x7f", R"("\u0001\u000a\u007f")", R"(\x01\x0a\x7f)"},
      {"\x1b[31m", R"("\u001b[31m")", R"(\x1b[31m)"},
      {"\xc3\xa9\xf0\x9f\x94\x91", "\"\xc3\xa9\xf0\x9f\x94\x91\"", "\xc3\xa9\xf0\x9f\x94\x91"},
      {"\xc2\x9b", R"("\u009b")", R"(\xc2\x9b)"},            // C1 control (CSI)
      {"\xff", R"("\u00ff")", R"(\xff)"},                    // never UTF-8
      {"\xc0\xaf", R"("\u00c0\u00af")", R"(\xc0\xaf)"},      // overlong "/"
      {"\xe0\x80\xaf", R"("\u00e0\u0080\u00af")", R"(\xe0\x80\xaf)"},
      {"\xed\xa0\x80", R"("\u00ed\u00a0\u0080")", R"(\xed\xa0\x80)"},  // surrogate
      {"\xf4\x90\x80\x80", R"("\u00f4\u0090\u0080\u0080")", R"(\xf4\x90\x80\x80)"},
      {"\xe2\x82", R"("\u00e2\u0082")", R"(\xe2\x82)"},      // cut off
      {std::string("a\0b", 3), R"("a\u0000b")", R"(a\x00b)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.printable);
    EXPECT_EQ(JsonString(row.name), row.json);
    EXPECT_EQ(Printable(row.name), row.printable);
  }
}

TEST(KeychainTextEncoding, WriterPutsCommasBetweenMembersOnly) {
  JsonWriter json;
  json.BeginObject();
  json.Key("a");
  json.BeginArray();
  json.Number(1);
  json.String("x");
  json.BeginObject();
  json.EndObject();
  json.EndArray();
  json.Key("b");
  json.BeginArray();
  json.EndArray();
  json.EndObject();
  EXPECT_EQ(json.Text(), "{\"a\":[1,\"x\",{}],\"b\":[]}\n");
}

}  // namespace
