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

// AppendEscaped appends |text| with every control character (below 0x20,
// and 0x7f) written as "\xHH", so that a name or id that carries a line end
// cannot end the record early and forge another one.
void AppendEscaped(std::string& record, const char* text, size_t length) {
  static const char kHex[] = "0123456789abcdef";
  for (size_t i = 0; i < length; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c != 0x7f) {
      record += static_cast<char>(c);
    } else {
      record += "\\x";
      record += kHex[c >> 4];
      record += kHex[c & 0x0f];
    }
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
  AppendEscaped(record, text.data(), static_cast<size_t>(length));
  record += '\n';

  // One write per record keeps records whole; the lock keeps writers of this
  // process from interleaving partial writes.
  std::lock_guard<std::mutex> guard(OutputLock());
  WriteAll(record);
  return length;
}
