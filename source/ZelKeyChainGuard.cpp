// ZelKeyChainGuard.cpp: see ZelKeyChainGuard.h.
#include "ZelKeyChainGuard.h"

#include <fcntl.h>

#include <vector>

#include "ZelKeyChainChange.h"

namespace {

bool SharesAKey(const std::set<std::string>& a, const std::set<std::string>& b) {
  for (const std::string& key : a)
    if (b.count(key)) return true;
  return false;
}

}  // namespace

ZelKeyChainGuard::ZelKeyChainGuard(const std::string& dir,
                                   const std::set<std::string>& keys)
    : dir_(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      locks_(dir_.Get()) {
  if (!dir_.IsOpen()) return;
  std::set<std::string> held = keys;
  for (;;) {
    locks_.Lock(held);
    std::vector<ZelKeyChainChanges::Abandoned> ours;
    std::set<std::string> missing;
    for (auto& change : ZelKeyChainChanges::FindAbandoned(dir_.Get())) {
      if (!SharesAKey(change.keys, keys)) continue;  // another keychain's
      for (const std::string& key : change.keys)
        if (!held.count(key)) missing.insert(key);
      ours.push_back(change);
    }
    if (missing.empty()) {
      for (const auto& change : ours) ZelKeyChainChanges::Finish(dir_.Get(), change.name);
      return;
    }
    locks_.UnlockAll();
    held.insert(missing.begin(), missing.end());
  }
}
