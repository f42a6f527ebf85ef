// list_command.cpp: zel-keychain list [--json], for the field.
//
// Shows what the key store would find: each keychain with its item files
// (id, file name, size), grouped by the file names on disk as the key
// store's load groups them, and a warning for every set of files that
// belongs to a keychain other than the one its writer named
// (key_store_files.h, MixedName). Text output:
//
//   key store: DIR
//   NAME: N items
//     ID  FILE  SIZE bytes
//
// JSON output: {"directory": DIR, "keychains": [{"name", "items": [{"id",
// "file", "size"}]}], "warnings": [{"keychain", "name", "files",
// "message"}]}.
#include <algorithm>
#include <iostream>

#include "commands.h"
#include "json_warnings.h"
#include "key_store_files.h"
#include "report.h"
#include "text_encoding.h"

namespace {

std::string Padded(const std::string& text, size_t width) {
  return text.size() >= width ? text : text + std::string(width - text.size(), ' ');
}

void PrintText(const std::string& dir, const Keychains& keychains) {
  Say("key store: " + Printable(dir));
  size_t id_width = 0, file_width = 0;
  for (const auto& keychain : keychains)
    for (const ItemFile& item : keychain.second) {
      id_width = std::max(id_width, Printable(item.id).size());
      file_width = std::max(file_width, Printable(item.file).size());
    }
  for (const auto& keychain : keychains) {
    const size_t count = keychain.second.size();
    Say(Printable(keychain.first) + ": " + std::to_string(count) + (count == 1 ? " item" : " items"));
    for (const ItemFile& item : keychain.second)
      Say("  " + Padded(Printable(item.id), id_width) + "  " +
          Padded(Printable(item.file), file_width) + "  " + std::to_string(item.size) + " bytes");
  }
  if (keychains.empty()) Say("no keychains");
}

void PrintJson(const std::string& dir, const Keychains& keychains,
               const std::vector<MixedName>& mixed_names) {
  JsonWriter json;
  json.BeginObject();
  json.Member("directory", dir);
  json.Key("keychains");
  json.BeginArray();
  for (const auto& keychain : keychains) {
    json.BeginObject();
    json.Member("name", keychain.first);
    json.Key("items");
    json.BeginArray();
    for (const ItemFile& item : keychain.second) {
      json.BeginObject();
      json.Member("id", item.id);
      json.Member("file", item.file);
      json.Member("size", item.size);
      json.EndObject();
    }
    json.EndArray();
    json.EndObject();
  }
  json.EndArray();
  WriteWarnings(json, mixed_names);
  json.EndObject();
  std::cout << json.Text();
}

}  // namespace

int RunList(const Invocation& invocation) {
  const std::string dir = KeyStoreDirectory();
  Keychains keychains;
  std::string error;
  if (!ListKeychains(dir, keychains, error)) return Fail(error);
  const std::vector<MixedName> mixed_names = FindMixedNames(keychains);
  for (const MixedName& mixed : mixed_names) Warn(DescribeMixedName(mixed));
  if (invocation.Has("--json"))
    PrintJson(dir, keychains, mixed_names);
  else
    PrintText(dir, keychains);
  return kExitOk;
}
