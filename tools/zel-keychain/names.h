// names.h: keychain names and item ids as zel-keychain takes them.
//
// An item id is given by its short name (public-key, private-key, ca,
// cert) or as a raw id, which is used as it is. Names and ids are checked
// against the key store's rules before anything is touched, so that a
// command never stores what the key store would not find again:
//   - a keychain name is not empty and holds no "/" and no ".": the key
//     store reads a file's keychain name up to the file name's first ".",
//     so a keychain "dev.v2" would be loaded as items of "dev" and never
//     under its own name;
//   - an item id begins with "." (the key store finds a file again only
//     when the keychain name ends at a ".") and holds no "/".
#ifndef ZEL_KEYCHAIN_NAMES_H
#define ZEL_KEYCHAIN_NAMES_H

#include <string>

// ItemIdOf returns the item id that |argument| stands for.
std::string ItemIdOf(const std::string& argument);

// ShortNameOf returns the short name of a standard item id ("cert" for
// ".crt.enc"), or an empty string for any other id.
std::string ShortNameOf(const std::string& id);

// StandardSuffixOf returns the longest standard item id that |id| ends
// with, or an empty string.
std::string StandardSuffixOf(const std::string& id);

// KeychainNameProblem and ItemIdProblem say why a name or an id is refused
// (an empty string when it is fine).
std::string KeychainNameProblem(const std::string& name);
std::string ItemIdProblem(const std::string& id);

// DescribeItem returns "'ID'", or "'ID' (short name)" for a standard id,
// for messages.
std::string DescribeItem(const std::string& id);

#endif  // ZEL_KEYCHAIN_NAMES_H
