// verify_command.cpp: zel-keychain verify [NAME] [--json], for the field.
//
// Decrypts every item file of keychain NAME (or of every keychain) on its
// own (item_file_check.h), so that each damaged or unreadable file is
// named; one bad file does not hide the others, as it does in the key
// store's load. Text output, one line per file, then a summary:
//
//   ok          FILE
//   damaged     FILE: REASON
//   unreadable  FILE: REASON
//   N item files: K ok, D damaged, U unreadable
//
// JSON output: {"directory", "files": [{"keychain", "id", "file", "size",
// "state", "reason"}], "ok", "damaged", "unreadable", "warnings": [...as
// for list]}. Exit status 1 when any file is damaged or unreadable.
#include <iostream>

#include "commands.h"
#include "item_file_check.h"
#include "json_warnings.h"
#include "key_store_files.h"
#include "names.h"
#include "report.h"
#include "text_encoding.h"

namespace {

struct Checked {
  std::string keychain;
  ItemFile item;
  ItemFileCheck check;
};

void PrintText(const std::vector<Checked>& results, const size_t counts[3]) {
  for (const Checked& result : results) {
    const std::string state = StateName(result.check.state);
    std::string line = state + std::string(12 - state.size(), ' ') + Printable(result.item.file);
    if (result.check.state != ItemFileState::kOk) line += ": " + result.check.reason;
    Say(line);
  }
  Say(std::to_string(results.size()) + " item files: " + std::to_string(counts[0]) + " ok, " +
      std::to_string(counts[1]) + " damaged, " + std::to_string(counts[2]) + " unreadable");
}

void PrintJson(const std::string& dir, const std::vector<Checked>& results,
               const std::vector<MixedName>& mixed_names, const size_t counts[3]) {
  JsonWriter json;
  json.BeginObject();
  json.Member("directory", dir);
  json.Key("files");
  json.BeginArray();
  for (const Checked& result : results) {
    json.BeginObject();
    json.Member("keychain", result.keychain);
    json.Member("id", result.item.id);
    json.Member("file", result.item.file);
    json.Member("size", result.item.size);
    json.Member("state", StateName(result.check.state));
    json.Member("reason", result.check.reason);
    json.EndObject();
  }
  json.EndArray();
  const ItemFileState states[] = {ItemFileState::kOk, ItemFileState::kDamaged,
                                  ItemFileState::kUnreadable};
  for (int i = 0; i < 3; ++i) {
    json.Key(StateName(states[i]));
    json.Number(counts[i]);
  }
  WriteWarnings(json, mixed_names);
  json.EndObject();
  std::cout << json.Text();
}

}  // namespace

int RunVerify(const Invocation& invocation) {
  const bool one = !invocation.arguments.empty();
  const std::string name = one ? invocation.arguments[0] : std::string();
  if (one && !KeychainNameProblem(name).empty()) {
    Complain(KeychainNameProblem(name));
    return kExitUsage;
  }
  const std::string dir = KeyStoreDirectory();
  Keychains keychains;
  std::string error;
  if (!ListKeychains(dir, keychains, error)) return Fail(error);
  if (one) {
    const auto found = keychains.find(name);
    if (found == keychains.end())
      return Fail("keychain " + Quoted(name) + " has no item files in " + Quoted(dir));
    keychains = Keychains{*found};
  }
  const std::vector<MixedName> mixed_names = FindMixedNames(keychains);
  for (const MixedName& mixed : mixed_names) Warn(DescribeMixedName(mixed));

  std::vector<Checked> results;
  size_t counts[3] = {0, 0, 0};  // by ItemFileState: ok, damaged, unreadable
  for (const auto& keychain : keychains)
    for (const ItemFile& item : keychain.second) {
      THevoBlob plain;  // wiped when it goes
      const ItemFileCheck check = CheckItemFile(dir + "/" + item.file, plain);
      ++counts[static_cast<size_t>(check.state)];
      results.push_back({keychain.first, item, check});
    }
  if (invocation.Has("--json"))
    PrintJson(dir, results, mixed_names, counts);
  else
    PrintText(results, counts);
  if (counts[1] + counts[2] == 0) return kExitOk;
  return Fail(std::to_string(counts[1]) + " damaged and " + std::to_string(counts[2]) +
              " unreadable of " + std::to_string(results.size()) + " item files in " +
              Quoted(dir));
}
