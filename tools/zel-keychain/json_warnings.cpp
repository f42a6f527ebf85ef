// json_warnings.cpp: see json_warnings.h.
#include "json_warnings.h"

void WriteWarnings(JsonWriter& json, const std::vector<MixedName>& mixed_names) {
  json.Key("warnings");
  json.BeginArray();
  for (const MixedName& mixed : mixed_names) {
    json.BeginObject();
    json.Member("keychain", mixed.keychain);
    json.Member("name", mixed.name);
    json.Key("files");
    json.BeginArray();
    for (const std::string& file : mixed.files) json.String(file);
    json.EndArray();
    json.Member("message", DescribeMixedName(mixed));
    json.EndObject();
  }
  json.EndArray();
}
