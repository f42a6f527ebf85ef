// TZelKeyChain.cpp: see TZelKeyChain.h.
#include "TZelKeyChain.h"

#include <iostream>

#include "HevoWipe.h"
#include "zelLogging.h"

namespace {
constexpr int kLevelError = 2;
constexpr int kLevelTrace = 6;
}  // namespace

const char* TZelKeyChain::ITEM_TYPE_PUBLIC_KEY = ".pem.enc";
const char* TZelKeyChain::ITEM_TYPE_PRIVATE_KEY = ".key.enc";
const char* TZelKeyChain::ITEM_TYPE_CERT_AUTHOTIRY = ".ca.crt.enc";
const char* TZelKeyChain::ITEM_TYPE_CERT = ".crt.enc";

TZelKeyChain::TZelKeyChain(const std::string& name) : name_(name) {}

TZelKeyChain::~TZelKeyChain() = default;

void TZelKeyChain::Print() const {
  for (const auto& item : GetContainer()) {
    std::cout << "TZelKeyChain Item Id: " << item.first << std::endl;
    std::cout << item.second.ToString() << std::endl;
  }
}

void TZelKeyChain::CopyInto(const std::string& id,
                            const std::vector<uint8_t>& bytes) {
  // A larger item must not leave the old bytes in a freed block, nor a
  // smaller one the old tail in the spare capacity.
  HevoWipe::Assign(GetContainer()[id].GetContainer(), bytes);
}

void TZelKeyChain::SetItem(const std::string& id, const THevoBlob& item) {
  zelLogging_log(kLevelTrace, "[%s:%d][%s]: [TZelKeyChain][%s] set item '%s'",
                 __FILE__, __LINE__, __func__, name_.c_str(), id.c_str());
  CopyInto(id, item.GetContainer());
}

void TZelKeyChain::SetItem(const std::string& id, THevoBlob&& item) {
  zelLogging_log(kLevelTrace, "[%s:%d][%s]: [TZelKeyChain][%s] set item '%s'",
                 __FILE__, __LINE__, __func__, name_.c_str(), id.c_str());
  // Copies on purpose: the caller's blob keeps its bytes.
  CopyInto(id, item.GetContainer());
}

void TZelKeyChain::SetItem(const std::string& id, const std::string& value) {
  zelLogging_log(kLevelTrace, "[%s:%d][%s]: [TZelKeyChain][%s] set item '%s'",
                 __FILE__, __LINE__, __func__, name_.c_str(), id.c_str());
  // Built before the map is touched, so a failure leaves the keychain as it
  // was.
  const THevoBlob text(value);
  CopyInto(id, text.GetContainer());
}

void TZelKeyChain::GetItem(const std::string& id, THevoBlob& item) const {
  zelLogging_log(kLevelTrace, "[%s:%d][%s]: [TZelKeyChain][%s] get item '%s'",
                 __FILE__, __LINE__, __func__, name_.c_str(), id.c_str());
  const auto found = GetContainer().find(id);
  if (found != GetContainer().end()) {
    HevoWipe::Assign(item.GetContainer(), found->second.GetContainer());
    return;
  }
  zelLogging_log(kLevelError, "[TZelKeyChain] Can't find item '%s'!",
                 id.c_str());
  HevoWipe::Clear(item.GetContainer());
}

void TZelKeyChain::RemoveItem(const std::string& id) {
  zelLogging_log(kLevelTrace,
                 "[%s:%d][%s]: [TZelKeyChain][%s] remove item '%s'", __FILE__,
                 __LINE__, __func__, name_.c_str(), id.c_str());
  // erase(key) is a no-op for an absent id, where erasing at end() would be
  // undefined.
  GetContainer().erase(id);
}
