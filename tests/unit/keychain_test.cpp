// The keychain: item storage and order, its log lines and the printed
// listing.
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "TZelKeyChain.h"
#include "log_capture.h"

namespace {

std::string Text(const THevoBlob& blob) {
  return std::string(blob.GetContainer().begin(), blob.GetContainer().end());
}

// ExpectTrace checks a level-6 record of |function| and returns its line.
int ExpectTrace(const LogRecord& record, const std::string& function, const std::string& action,
                const std::string& message) {
  EXPECT_EQ(record.level, 6);
  EXPECT_EQ(record.format, "[%s:%d][%s]: [TZelKeyChain][%s] " + action + " item '%s'");
  std::smatch match;
  EXPECT_TRUE(std::regex_match(record.text, match,
                               std::regex(R"(\[source/TZelKeyChain\.cpp:(\d+)\]\[)" + function + R"(\]: (.*))")))
      << record.text;
  EXPECT_EQ(match[2].str(), message);
  return match.empty() ? -1 : std::stoi(match[1].str());
}

TEST(KeyChain, SetItemOverloadsCopyAndTraceEachOnItsOwnLine) {
  EXPECT_STREQ(TZelKeyChain::ITEM_TYPE_PUBLIC_KEY, ".pem.enc");
  EXPECT_STREQ(TZelKeyChain::ITEM_TYPE_PRIVATE_KEY, ".key.enc");
  EXPECT_STREQ(TZelKeyChain::ITEM_TYPE_CERT_AUTHOTIRY, ".ca.crt.enc");
  EXPECT_STREQ(TZelKeyChain::ITEM_TYPE_CERT, ".crt.enc");
  TakeLogRecords();
  TZelKeyChain chain("device");
  const THevoBlob lvalue(std::string("lvalue bytes"));
  THevoBlob rvalue(std::string("rvalue bytes"));
  chain.SetItem(".a", lvalue);
  chain.SetItem(".b", std::move(rvalue));
  chain.SetItem(".c", std::string("text"));
  chain.SetItem(".c", std::string("replaced"));
  EXPECT_EQ(Text(rvalue), "rvalue bytes");  // the rvalue overload copies
  EXPECT_EQ(Text(chain.GetContainer().at(".b")), "rvalue bytes");
  EXPECT_EQ(Text(chain.GetContainer().at(".c")), "replaced");
  const auto records = TakeLogRecords();
  ASSERT_EQ(records.size(), 4u);
  std::set<int> lines;
  for (size_t i = 0; i < 3; ++i)
    lines.insert(ExpectTrace(records[i], "SetItem", "set",
                             "[TZelKeyChain][device] set item '." + std::string(1, char('a' + i)) + "'"));
  EXPECT_EQ(lines.size(), 3u);
}

TEST(KeyChain, GetItemCopiesOrEmptiesAndLogsAMissRemoveIgnoresOne) {
  TZelKeyChain chain("");
  chain.SetItem(".key.enc", std::string("secret"));
  TakeLogRecords();
  THevoBlob out(std::string(64, 'x'));
  chain.GetItem(".key.enc", out);
  EXPECT_EQ(Text(out), "secret");
  chain.GetItem(".missing", out);
  EXPECT_TRUE(out.GetContainer().empty());
  chain.RemoveItem(".key.enc");
  chain.RemoveItem(".absent");
  EXPECT_TRUE(chain.GetContainer().empty());
  const auto records = TakeLogRecords();
  ASSERT_EQ(records.size(), 5u);  // no miss message for RemoveItem
  ExpectTrace(records[1], "GetItem", "get", "[TZelKeyChain][] get item '.missing'");
  EXPECT_EQ(records[2], (LogRecord{2, "[TZelKeyChain] Can't find item '%s'!",
                                   "[TZelKeyChain] Can't find item '.missing'!"}));
  ExpectTrace(records[4], "RemoveItem", "remove", "[TZelKeyChain][] remove item '.absent'");
}

TEST(KeyChain, PrintListsItemsInByteOrderWithoutLogging) {
  TZelKeyChain chain("print");
  for (const char* id : {"a", "Z", ""}) chain.SetItem(id, std::string(id) + " line1\nline2");
  TakeLogRecords();
  std::ostringstream captured;
  std::streambuf* previous = std::cout.rdbuf(captured.rdbuf());
  chain.Print();
  std::cout.rdbuf(previous);
  EXPECT_EQ(captured.str(),
            "TZelKeyChain Item Id: \n line1\\nline2\nTZelKeyChain Item Id: Z\nZ line1\\nline2\n"
            "TZelKeyChain Item Id: a\na line1\\nline2\n");
  EXPECT_TRUE(TakeLogRecords().empty());
}

}  // namespace
