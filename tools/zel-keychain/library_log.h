// library_log.h: the key store's log, as zel-keychain receives it.
//
// zel-keychain defines its own zelLogging_log, which replaces the logging
// library's default for the whole process (the libraries call it by its
// plain name). It forwards records of level 3 and below (errors) to
// standard error as "zel-keychain: " lines, control characters escaped;
// ZEL_LOG_LEVEL sets another threshold as it does for the default (6 shows
// the traces). It also records the items that the key store logged as not
// stored: StoreKeyChain's result tells of its last item only, so these
// records are how a store learns of every failed item.
#ifndef ZEL_KEYCHAIN_LIBRARY_LOG_H
#define ZEL_KEYCHAIN_LIBRARY_LOG_H

#include <string>
#include <vector>

// TakeUnstoredItems returns the ids of the items logged as not stored
// since the last call, and forgets them.
std::vector<std::string> TakeUnstoredItems();

#endif  // ZEL_KEYCHAIN_LIBRARY_LOG_H
