// log_capture.cpp: see log_capture.h.
#include "log_capture.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "zelLogging.h"

namespace {
std::mutex g_lock;
std::vector<LogRecord> g_records;
}  // namespace

std::vector<LogRecord> TakeLogRecords() {
  std::lock_guard<std::mutex> guard(g_lock);
  std::vector<LogRecord> taken;
  taken.swap(g_records);
  return taken;
}

extern "C" int zelLogging_log(int level, const char* format, ...) {
  char text[4096];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  std::lock_guard<std::mutex> guard(g_lock);
  g_records.push_back({level, format, text});
  return 0;
}
