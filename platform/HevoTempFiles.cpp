// HevoTempFiles.cpp: see HevoTempFiles.h.
#include "HevoTempFiles.h"

#include <dirent.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace HevoTempFiles {
namespace {

std::atomic<unsigned long> g_counter{0};

// OwnerIsGone reads the process id that follows the prefix and tells
// whether that process has ended. A name it cannot parse is left alone.
bool OwnerIsGone(const std::string& name) {
  const char* digits = name.c_str() + sizeof(kPrefix) - 1;
  char* end = nullptr;
  errno = 0;
  const long pid = std::strtol(digits, &end, 10);
  if (errno != 0 || end == digits || *end != '-' || pid <= 0) return false;
  if (pid == static_cast<long>(getpid())) return false;
  return kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
}

struct DirCloser {
  void operator()(DIR* dir) const { closedir(dir); }
};

}  // namespace

bool IsTemporaryName(const std::string& name) {
  return name.compare(0, sizeof(kPrefix) - 1, kPrefix) == 0;
}

std::string NewTemporaryName() {
  return std::string(kPrefix) + std::to_string(getpid()) + "-" +
         std::to_string(g_counter.fetch_add(1));
}

void RemoveAbandoned(const std::string& dir) {
  std::unique_ptr<DIR, DirCloser> stream(opendir(dir.c_str()));
  if (!stream) return;
  while (const dirent* entry = readdir(stream.get())) {
    const std::string name = entry->d_name;
    if (IsTemporaryName(name) && OwnerIsGone(name))
      unlinkat(dirfd(stream.get()), name.c_str(), 0);
  }
}

}  // namespace HevoTempFiles
