// ZelExport.h: the visibility macro of libzel_secure_store.
//
// The library is built with hidden visibility; only the classes marked
// ZEL_EXPORT (and their members) are part of its ABI.
#ifndef ZEL_EXPORT_H
#define ZEL_EXPORT_H

#define ZEL_EXPORT __attribute__((visibility("default")))

#endif  // ZEL_EXPORT_H
