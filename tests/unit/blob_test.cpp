// Blob bytes and text form.
#include <gtest/gtest.h>

#include "THevoBlob.h"

namespace {

TEST(Blob, DefaultIsEmptyAndOwnsNoStorage) {
  THevoBlob blob;
  EXPECT_EQ(blob.GetContainer().size(), 0u);
  EXPECT_EQ(blob.GetContainer().capacity(), 0u);
}

TEST(Blob, TextConstructorKeepsEveryByteWithoutTerminator) {
  const std::string text("a\0b\xff", 4);
  THevoBlob blob(text);
  EXPECT_EQ(blob.GetContainer(), std::vector<uint8_t>({'a', 0, 'b', 0xff}));
}

TEST(Blob, VectorAssignmentCopiesBytesAndKeepsTheSourceAndCapacity) {
  THevoBlob source(std::string("short"));
  THevoBlob destination(std::string(100, 'x'));
  const auto capacity = destination.GetContainer().capacity();
  const uint8_t* storage = destination.GetContainer().data();

  destination.GetContainer() = source.GetContainer();

  EXPECT_EQ(destination.GetContainer(), source.GetContainer());
  EXPECT_EQ(source.GetContainer().size(), 5u);
  // Assignment into enough capacity reuses the destination's storage.
  EXPECT_EQ(destination.GetContainer().capacity(), capacity);
  EXPECT_EQ(destination.GetContainer().data(), storage);
}

TEST(Blob, ToStringIsOneLine) {
  struct Case {
    std::string bytes;
    std::string text;
  };
  const Case cases[] = {
      {"", ""},
      {"-----BEGIN KEY-----\nAbC=\n", "-----BEGIN KEY-----\\nAbC=\\n"},
      {std::string("\\\t\r\0\x7f\x80\xff", 7), "\\\\\\t\\r\\x00\\x7f\\x80\\xff"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(THevoBlob(c.bytes).ToString(), c.text);
  }
}

}  // namespace
