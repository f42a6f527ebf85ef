// library_log.cpp: see library_log.h.
#include "library_log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "report.h"
#include "text_encoding.h"
#include "zelLogging.h"

namespace {

// The key store's error line for an item not stored, by its format; the
// argument is the item id.
constexpr char kNotStored[] = "[TZelKeyStore] Can't encrypt/store keychain data for '%s'.";

std::vector<std::string> g_unstored;

// Threshold reads ZEL_LOG_LEVEL by the default logger's rule: a whole
// number from 0 to 99, else the default level 3.
int Threshold() {
  static const int threshold = [] {
    const char* value = std::getenv("ZEL_LOG_LEVEL");
    if (value == nullptr || *value == '\0') return 3;
    char* end = nullptr;
    errno = 0;
    const long level = std::strtol(value, &end, 10);
    return errno != 0 || *end != '\0' || level < 0 || level > 99 ? 3 : static_cast<int>(level);
  }();
  return threshold;
}

}  // namespace

std::vector<std::string> TakeUnstoredItems() {
  std::vector<std::string> taken;
  taken.swap(g_unstored);
  return taken;
}

extern "C" int zelLogging_log(int level, const char* format, ...) {
  va_list args;
  va_start(args, format);
  if (level == 2 && std::strcmp(format, kNotStored) == 0) {
    va_list copy;
    va_copy(copy, args);
    const char* id = va_arg(copy, const char*);
    va_end(copy);
    g_unstored.push_back(id != nullptr ? id : "");
  }
  int length = 0;
  if (level <= Threshold()) {
    char text[2048];
    length = std::vsnprintf(text, sizeof text, format, args);
    if (length >= 0) Complain(Printable(text));
  }
  va_end(args);
  return length < 0 ? 0 : length;
}
