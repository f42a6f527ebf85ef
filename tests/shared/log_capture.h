// log_capture.h: records what the library logs, by defining zelLogging_log
// in the test program (it takes the place of the logging library's own
// definition for the whole process).
#ifndef ZEL_TESTS_SHARED_LOG_CAPTURE_H
#define ZEL_TESTS_SHARED_LOG_CAPTURE_H

#include <string>
#include <vector>

struct LogRecord {
  int level;
  std::string format;
  std::string text;  // the format with its arguments filled in

  bool operator==(const LogRecord& other) const {
    return level == other.level && format == other.format &&
           text == other.text;
  }
};

// TakeLogRecords returns the records logged since the last call and forgets
// them.
std::vector<LogRecord> TakeLogRecords();

#endif  // ZEL_TESTS_SHARED_LOG_CAPTURE_H
