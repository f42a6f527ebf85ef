// zelLogging.h: the logging entry point of the logging library.
#ifndef ZEL_LOGGING_H
#define ZEL_LOGGING_H

#ifdef __cplusplus
extern "C" {
#endif

// zelLogging_log writes one record made from the printf-style |format| and
// its arguments, at |level| (2 is an error, 6 a trace; lower is more
// severe). The format carries no line end: each record ends itself.
//
// The default implementation writes records of level 3 and below to
// standard error, one write per record, and is safe to call from several
// threads. The environment variable ZEL_LOG_LEVEL, read once, sets another
// threshold (6 shows the traces). Control characters in the text (below
// 0x20, and 0x7f) are written as "\xHH", so that every record is one line.
// It returns the number of characters of the record's text (before
// escaping), or 0 when the record was filtered out.
//
// WARNING: the libraries call this function by its plain name across the
// library boundary, so an application that defines its own zelLogging_log
// replaces this one for the whole process.
__attribute__((visibility("default"), format(printf, 2, 3))) int
zelLogging_log(int level, const char* format, ...);

#ifdef __cplusplus
}
#endif

#endif  // ZEL_LOGGING_H
