#include "wycheproof_cases.h"

#include <stdexcept>

#include "json_reader.h"

WycheproofFile ReadWycheproofFile(const std::string& path) {
  const JsonValue root = ReadJsonFile(path);
  WycheproofFile file;
  file.number_of_tests = root["numberOfTests"].AsInteger();
  for (const JsonValue& group : root["testGroups"].AsArray()) {
    const auto key_bits = static_cast<unsigned>(group["keySize"].AsInteger());
    for (const JsonValue& test : group["tests"].AsArray()) {
      WycheproofCase c;
      c.tc_id = static_cast<int>(test["tcId"].AsInteger());
      c.comment = test["comment"].AsString();
      c.key_bits = key_bits;
      c.key = HexToBytes(test["key"].AsString());
      c.iv = HexToBytes(test["iv"].AsString());
      c.msg = HexToBytes(test["msg"].AsString());
      c.ct = HexToBytes(test["ct"].AsString());
      const std::string& result = test["result"].AsString();
      if (result != "valid" && result != "invalid")
        throw std::runtime_error("tcId " + std::to_string(c.tc_id) +
                                 ": unexpected result " + result);
      c.valid = result == "valid";
      file.cases.push_back(c);
    }
  }
  return file;
}
