// HevoExport.h: the visibility macro of the base library stand-in.
//
// The libraries are built with hidden visibility by default; only what is
// marked HEVO_EXPORT is part of their ABI.
#ifndef HEVO_EXPORT_H
#define HEVO_EXPORT_H

#define HEVO_EXPORT __attribute__((visibility("default")))

#endif  // HEVO_EXPORT_H
