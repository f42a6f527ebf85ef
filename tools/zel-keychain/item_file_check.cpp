// item_file_check.cpp: see item_file_check.h.
#include "item_file_check.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "TZelSecureStore.h"

namespace {

// The cipher's messages for a malformed file, in plain words.
struct Explanation {
  const char* message;
  const char* words;
};
const Explanation kExplanations[] = {
    {"ASSERTION FAILED: in_size != 0", "the file is empty"},
    {"ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0",
     "its length is not a whole number of 16-byte blocks (truncated?)"},
    {"ASSERTION FAILED: (size_t)c > 0",
     "its padding is malformed (changed bytes, or other key material)"},
    {"ASSERTION FAILED: (size_t)c <= AES_BLOCK_SIZE",
     "its padding is malformed (changed bytes, or other key material)"},
};

std::string Explain(const char* message) {
  for (const Explanation& known : kExplanations)
    if (std::strcmp(message, known.message) == 0)
      return std::string(known.words) + " [" + message + "]";
  return message;
}

// OpenProblem tells why the secure store could not read |path| (as its
// reader does: no link followed, a regular file only), or "" when it can.
std::string OpenProblem(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (fd < 0) return std::strerror(errno);
  struct stat info;
  const bool regular = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  close(fd);
  if (!regular) return "not a regular file";
  if (static_cast<uint64_t>(info.st_size) > TZelSecureStore::MAX_ITEM_SIZE + 16ull)
    return "larger than any item file can be";
  return "";
}

}  // namespace

ItemFileCheck CheckItemFile(const std::string& path, THevoBlob& plain) {
  ItemFileCheck check;
  bool loaded = false;
  try {
    loaded = TZelSecureStore::GetInstance().Load(path, plain);
  } catch (const char* message) {
    check.state = ItemFileState::kDamaged;
    check.reason = Explain(message);
    return check;
  }
  if (loaded) return check;
  // False: the file could not be read, or it decrypted to nothing, which a
  // stored item never does (items have at least 16 bytes).
  check.reason = OpenProblem(path);
  if (!check.reason.empty()) {
    check.state = ItemFileState::kUnreadable;
  } else {
    check.state = ItemFileState::kDamaged;
    check.reason = "it decrypts to an empty item (changed bytes, or other key material)";
  }
  return check;
}

const char* StateName(ItemFileState state) {
  switch (state) {
    case ItemFileState::kOk: return "ok";
    case ItemFileState::kDamaged: return "damaged";
    case ItemFileState::kUnreadable: return "unreadable";
  }
  return "unknown";
}
