// sample_keychain.h: the keychain that the reliability tests store, break
// and load again, and that the key-store benchmark stores: the four standard items at realistic sizes, in an old and
// a new version whose bytes differ everywhere, so that each item file can be
// told to hold the one or the other.
#ifndef ZEL_TESTS_SHARED_SAMPLE_KEYCHAIN_H
#define ZEL_TESTS_SHARED_SAMPLE_KEYCHAIN_H

#include <cstddef>
#include <map>
#include <string>

#include "TZelKeyChain.h"

// ItemBytes maps item ids to item bytes.
using ItemBytes = std::map<std::string, std::string>;

enum class SampleVersion { kOld = 0, kNew = 1 };

// SampleItems returns the four standard items of |version|. The old
// version holds a 2048-bit RSA key's size of private key (1704 bytes),
// certificates of 1.2 and 1.3 KB and a 451-byte public key. The new one is a
// renewal: a larger key (3272 bytes) and a certificate item that carries its
// whole chain (4800 bytes, more than one 4 KB page).
ItemBytes SampleItems(SampleVersion version);

// PemLike returns exactly |size| bytes shaped like a PEM block labelled
// |label|, with a body drawn from |seed|.
std::string PemLike(const std::string& label, size_t size, unsigned seed);

// FillKeyChain sets every item of |items| in |chain|.
void FillKeyChain(TZelKeyChain& chain, const ItemBytes& items);

// ItemsOf returns the items that |chain| holds.
ItemBytes ItemsOf(const TZelKeyChain& chain);

// VersionsIn tells, per item id of the sample, which version |held| has of
// it: "old", "new", "other" (bytes of neither: torn or mixed) or "missing".
std::map<std::string, std::string> VersionsIn(const ItemBytes& held);

#endif  // ZEL_TESTS_SHARED_SAMPLE_KEYCHAIN_H
