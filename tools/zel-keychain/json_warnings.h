// json_warnings.h: the "warnings" member that list --json and verify
// --json share.
#ifndef ZEL_KEYCHAIN_JSON_WARNINGS_H
#define ZEL_KEYCHAIN_JSON_WARNINGS_H

#include <vector>

#include "json_writer.h"
#include "key_store_files.h"

// WriteWarnings writes "warnings": [{"keychain", "name", "files",
// "message"}...], one object per MixedName.
void WriteWarnings(JsonWriter& json, const std::vector<MixedName>& mixed_names);

#endif  // ZEL_KEYCHAIN_JSON_WARNINGS_H
