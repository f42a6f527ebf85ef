// The keychain: item storage, ordering, log lines and the printed listing.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "TZelKeyChain.h"
#include "log_capture.h"

namespace {

const char kSetFormat[] = "[%s:%d][%s]: [TZelKeyChain][%s] set item '%s'";
const char kGetFormat[] = "[%s:%d][%s]: [TZelKeyChain][%s] get item '%s'";
const char kRemoveFormat[] = "[%s:%d][%s]: [TZelKeyChain][%s] remove item '%s'";
const char kMissFormat[] = "[TZelKeyChain] Can't find item '%s'!";

std::string Bytes(const THevoBlob& blob) {
  return std::string(blob.GetContainer().begin(), blob.GetContainer().end());
}

std::vector<std::string> Ids(const TZelKeyChain& chain) {
  std::vector<std::string> ids;
  for (const auto& item : chain.GetContainer()) ids.push_back(item.first);
  return ids;
}

// ExpectTrace checks one trace record and returns its source line.
int ExpectTrace(const LogRecord& record, const char* format,
                const std::string& function, const std::string& rest) {
  EXPECT_EQ(record.level, 6);
  EXPECT_EQ(record.format, format);
  std::smatch match;
  const std::regex shape(R"(\[source/TZelKeyChain\.cpp:(\d+)\]\[)" + function +
                         R"(\]: (.*))");
  if (!std::regex_match(record.text, match, shape)) {
    ADD_FAILURE() << "unexpected trace: " << record.text;
    return -1;
  }
  EXPECT_EQ(match[2].str(), rest);
  return std::stoi(match[1].str());
}

class KeyChainTest : public ::testing::Test {
 protected:
  void SetUp() override { TakeLogRecords(); }
};

TEST_F(KeyChainTest, StandardIdsKeepTheirSpelling) {
  EXPECT_STREQ(TZelKeyChain::ITEM_TYPE_PUBLIC_KEY, ".pem.enc");
  EXPECT_STREQ(TZelKeyChain::ITEM_TYPE_PRIVATE_KEY, ".key.enc");
  EXPECT_STREQ(TZelKeyChain::ITEM_TYPE_CERT_AUTHOTIRY, ".ca.crt.enc");
  EXPECT_STREQ(TZelKeyChain::ITEM_TYPE_CERT, ".crt.enc");
}

TEST_F(KeyChainTest, EachSetItemOverloadCopiesAndTracesOnItsOwnLine) {
  TZelKeyChain chain("device");
  const THevoBlob lvalue(std::string("lvalue bytes"));
  THevoBlob rvalue(std::string("rvalue bytes"));
  chain.SetItem(".a", lvalue);
  chain.SetItem(".b", std::move(rvalue));
  chain.SetItem(".c", std::string("text bytes"));
  chain.SetItem(".c", std::string("replaced"));
  chain.SetItem(".d", std::string());

  EXPECT_EQ(Bytes(rvalue), "rvalue bytes");  // the rvalue overload copies
  EXPECT_EQ(Ids(chain), (std::vector<std::string>{".a", ".b", ".c", ".d"}));
  EXPECT_EQ(Bytes(chain.GetContainer().at(".a")), "lvalue bytes");
  EXPECT_EQ(Bytes(chain.GetContainer().at(".b")), "rvalue bytes");
  EXPECT_EQ(Bytes(chain.GetContainer().at(".c")), "replaced");
  EXPECT_TRUE(chain.GetContainer().at(".d").GetContainer().empty());

  const auto records = TakeLogRecords();
  ASSERT_EQ(records.size(), 5u);
  const int line_a = ExpectTrace(records[0], kSetFormat, "SetItem", "[TZelKeyChain][device] set item '.a'");
  const int line_b = ExpectTrace(records[1], kSetFormat, "SetItem", "[TZelKeyChain][device] set item '.b'");
  const int line_c = ExpectTrace(records[2], kSetFormat, "SetItem", "[TZelKeyChain][device] set item '.c'");
  EXPECT_NE(line_a, line_b);
  EXPECT_NE(line_b, line_c);
  EXPECT_NE(line_a, line_c);
}

TEST_F(KeyChainTest, GetItemCopiesOrEmptiesAndLogsAMiss) {
  TZelKeyChain chain("");
  chain.SetItem(".key.enc", std::string("secret"));
  chain.SetItem(".empty", std::string());
  TakeLogRecords();

  THevoBlob out(std::string(64, 'x'));
  const auto capacity = out.GetContainer().capacity();
  chain.GetItem(".key.enc", out);
  EXPECT_EQ(Bytes(out), "secret");
  chain.GetItem(".empty", out);
  EXPECT_TRUE(out.GetContainer().empty());

  out.GetContainer().assign(10, 'y');
  chain.GetItem(".missing", out);
  EXPECT_TRUE(out.GetContainer().empty());
  EXPECT_EQ(out.GetContainer().capacity(), capacity);  // cleared, not released

  const auto records = TakeLogRecords();
  ASSERT_EQ(records.size(), 4u);
  ExpectTrace(records[0], kGetFormat, "GetItem", "[TZelKeyChain][] get item '.key.enc'");
  ExpectTrace(records[1], kGetFormat, "GetItem", "[TZelKeyChain][] get item '.empty'");
  ExpectTrace(records[2], kGetFormat, "GetItem", "[TZelKeyChain][] get item '.missing'");
  EXPECT_EQ(records[3], (LogRecord{2, kMissFormat, "[TZelKeyChain] Can't find item '.missing'!"}));
}

TEST_F(KeyChainTest, RemoveItemErasesAndIgnoresAnAbsentId) {
  TZelKeyChain chain("n");
  chain.SetItem("a", std::string("1"));
  chain.SetItem("b", std::string("2"));
  TakeLogRecords();

  chain.RemoveItem("a");
  chain.RemoveItem("absent");
  EXPECT_EQ(Ids(chain), std::vector<std::string>{"b"});

  const auto records = TakeLogRecords();
  ASSERT_EQ(records.size(), 2u);  // traces only, no miss message
  ExpectTrace(records[0], kRemoveFormat, "RemoveItem", "[TZelKeyChain][n] remove item 'a'");
  ExpectTrace(records[1], kRemoveFormat, "RemoveItem", "[TZelKeyChain][n] remove item 'absent'");
}

TEST_F(KeyChainTest, PrintListsItemsInByteOrder) {
  struct Case {
    std::vector<std::pair<std::string, std::string>> items;
    std::string printed;
  };
  const Case cases[] = {
      {{}, ""},
      {{{"b", "second"}, {"a", "first"}},
       "TZelKeyChain Item Id: a\nfirst\nTZelKeyChain Item Id: b\nsecond\n"},
      {{{"a", "lower"}, {"Z", "upper"}, {"", "empty id"}},
       "TZelKeyChain Item Id: \nempty id\nTZelKeyChain Item Id: Z\nupper\n"
       "TZelKeyChain Item Id: a\nlower\n"},
      {{{".key.enc", "k"}, {".crt.enc", "line1\nline2"}},
       "TZelKeyChain Item Id: .crt.enc\nline1\\nline2\n"
       "TZelKeyChain Item Id: .key.enc\nk\n"},
  };
  for (const Case& c : cases) {
    TZelKeyChain chain("print");
    for (const auto& item : c.items) chain.SetItem(item.first, item.second);
    TakeLogRecords();

    std::ostringstream captured;
    std::streambuf* previous = std::cout.rdbuf(captured.rdbuf());
    chain.Print();
    std::cout.rdbuf(previous);
    EXPECT_EQ(captured.str(), c.printed);
    EXPECT_TRUE(TakeLogRecords().empty());  // Print does not log
  }
}

}  // namespace
