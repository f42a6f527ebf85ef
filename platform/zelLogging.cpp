// zelLogging.cpp: the default logging back end, writing to standard error.
#include "zelLogging.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr int kDefaultThreshold = 3;

int ReadThreshold() {
  const char* text = std::getenv("ZEL_LOG_LEVEL");
  if (text == nullptr || *text == '\0') return kDefaultThreshold;
  char* end = nullptr;
  errno = 0;
  const long level = std::strtol(text, &end, 10);
  if (errno != 0 || *end != '\0' || level < 0 || level > 99)
    return kDefaultThreshold;
  return static_cast<int>(level);
}

int Threshold() {
  static const int threshold = ReadThreshold();
  return threshold;
}

std::mutex& OutputLock() {
  static std::mutex lock;
  return lock;
}

void WriteAll(const std::string& record) {
  const char* data = record.data();
  size_t left = record.size();
  while (left > 0) {
    const ssize_t written = write(STDERR_FILENO, data, left);
    if (written < 0) {
      if (errno == EINTR) continue;
      return;
    }
    data += written;
    left -= static_cast<size_t>(written);
  }
}

}  // namespace

extern "C" int zelLogging_log(int level, const char* format, ...) {
  if (level > Threshold() || format == nullptr) return 0;

  va_list args;
  va_start(args, format);
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0) {
    va_end(args);
    return 0;
  }
  std::vector<char> text(static_cast<size_t>(length) + 1);
  std::vsnprintf(text.data(), text.size(), format, args);
  va_end(args);

  // Record layout: "<level> text", the syslog-style level in angle brackets.
  std::string record = "<" + std::to_string(level) + "> ";
  record.append(text.data(), static_cast<size_t>(length));
  record += '\n';

  // One write per record keeps records whole; the lock keeps writers of this
  // process from interleaving partial writes.
  std::lock_guard<std::mutex> guard(OutputLock());
  WriteAll(record);
  return length;
}
