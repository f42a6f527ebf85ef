// sample_keychain.cpp: see sample_keychain.h.
#include "sample_keychain.h"

#include <random>

std::string PemLike(const std::string& label, size_t size, unsigned seed) {
  static const char kBase64[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::string header = "-----BEGIN " + label + "-----\n";
  const std::string footer = "\n-----END " + label + "-----\n";
  std::mt19937 random(seed);
  std::string body;
  const size_t body_size =
      size > header.size() + footer.size() ? size - header.size() - footer.size() : 0;
  while (body.size() < body_size) {
    // Lines of 64 characters, as PEM writers break them.
    body += (body.size() % 65 == 64) ? '\n' : kBase64[random() % 64];
  }
  return (header + body + footer).substr(0, size);
}

ItemBytes SampleItems(SampleVersion version) {
  const bool renewed = version == SampleVersion::kNew;
  const unsigned seed = renewed ? 2000 : 1000;
  return {
      {TZelKeyChain::ITEM_TYPE_PUBLIC_KEY, PemLike("PUBLIC KEY", 451, seed + 1)},
      {TZelKeyChain::ITEM_TYPE_PRIVATE_KEY,
       PemLike("PRIVATE KEY", renewed ? 3272 : 1704, seed + 2)},
      {TZelKeyChain::ITEM_TYPE_CERT_AUTHOTIRY, PemLike("CERTIFICATE", 1310, seed + 3)},
      {TZelKeyChain::ITEM_TYPE_CERT,
       PemLike("CERTIFICATE", renewed ? 4800 : 1188, seed + 4)},
  };
}

void FillKeyChain(TZelKeyChain& chain, const ItemBytes& items) {
  for (const auto& item : items) chain.SetItem(item.first, item.second);
}

ItemBytes ItemsOf(const TZelKeyChain& chain) {
  ItemBytes items;
  for (const auto& item : chain.GetContainer())
    items[item.first].assign(item.second.GetContainer().begin(),
                             item.second.GetContainer().end());
  return items;
}

std::map<std::string, std::string> VersionsIn(const ItemBytes& held) {
  const ItemBytes old_items = SampleItems(SampleVersion::kOld);
  const ItemBytes new_items = SampleItems(SampleVersion::kNew);
  std::map<std::string, std::string> versions;
  for (const auto& item : old_items) {
    const auto found = held.find(item.first);
    versions[item.first] = found == held.end()                       ? "missing"
                           : found->second == item.second             ? "old"
                           : found->second == new_items.at(item.first) ? "new"
                                                                      : "other";
  }
  return versions;
}
