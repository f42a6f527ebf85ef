// json_warnings.cpp: see json_warnings.h.
#include "json_warnings.h"

void WriteWarnings(JsonWriter& json, const std::vector<MixedName>& mixed_names) {
  json.Key("warnings");
  json.BeginArray();
  for (const MixedName& mixed : mixed_names) {
    json.BeginObject();
    json.Key("keychain");
    json.String(mixed.keychain);
    json.Key("name");
    json.String(mixed.name);
    json.Key("files");
    json.BeginArray();
    for (const std::string& file : mixed.files) json.String(file);
    json.EndArray();
    json.Key("message");
    json.String(DescribeMixedName(mixed));
    json.EndObject();
  }
  json.EndArray();
}
