// names.cpp: see names.h.
#include "names.h"

#include "TZelKeyChain.h"
#include "text_encoding.h"

namespace {

struct ShortName {
  const char* name;
  const char* const* id;  // the keychain's constant, read when used
};

// Longest ids first, so that ".ca.crt.enc" wins over ".crt.enc" as a suffix.
const ShortName kShortNames[] = {
    {"ca", &TZelKeyChain::ITEM_TYPE_CERT_AUTHOTIRY},
    {"public-key", &TZelKeyChain::ITEM_TYPE_PUBLIC_KEY},
    {"private-key", &TZelKeyChain::ITEM_TYPE_PRIVATE_KEY},
    {"cert", &TZelKeyChain::ITEM_TYPE_CERT},
};

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

std::string ItemIdOf(const std::string& argument) {
  for (const ShortName& known : kShortNames)
    if (argument == known.name) return *known.id;
  return argument;
}

std::string ShortNameOf(const std::string& id) {
  for (const ShortName& known : kShortNames)
    if (id == *known.id) return known.name;
  return std::string();
}

std::string StandardSuffixOf(const std::string& id) {
  for (const ShortName& known : kShortNames)
    if (EndsWith(id, *known.id)) return *known.id;
  return std::string();
}

std::string KeychainNameProblem(const std::string& name) {
  if (name.empty()) return "a keychain name cannot be empty";
  if (name.find('/') != std::string::npos)
    return "keychain name " + Quoted(name) + " contains '/'";
  const size_t dot = name.find('.');
  if (dot != std::string::npos)
    return "keychain name " + Quoted(name) +
           " contains '.': the key store takes a file's keychain name up to its first '.', "
           "so these files would belong to keychain " + Quoted(name.substr(0, dot)) +
           " and never be found as " + Quoted(name);
  return std::string();
}

std::string ItemIdProblem(const std::string& id) {
  if (id.empty() || id[0] != '.')
    return "item id " + Quoted(id) +
           " does not begin with '.' (use public-key, private-key, ca, cert or an id such as "
           ".pem.enc)";
  if (id.find('/') != std::string::npos) return "item id " + Quoted(id) + " contains '/'";
  return std::string();
}

std::string DescribeItem(const std::string& id) {
  const std::string short_name = ShortNameOf(id);
  return short_name.empty() ? Quoted(id) : Quoted(id) + " (" + short_name + ")";
}
