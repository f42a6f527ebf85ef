// temp_dir.cpp: see temp_dir.h.
#include "temp_dir.h"

#include <stdlib.h>
#include <sys/mount.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

TempDir::TempDir() {
  std::string pattern = (fs::temp_directory_path() / "zel-test-XXXXXX").string();
  if (mkdtemp(&pattern[0]) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return "<missing>";
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

std::set<std::string> ListDir(const std::string& dir) {
  std::set<std::string> names;
  std::error_code error;
  for (fs::directory_iterator it(dir, error), end; !error && it != end; it.increment(error))
    if (it->path().filename() != ".hevo-tmp-lock") names.insert(it->path().filename().string());
  return names;
}

unsigned FileMode(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  return error ? 0 : static_cast<unsigned>(status.permissions() & fs::perms::mask);
}

ReadOnlyBind::ReadOnlyBind(const std::string& dir) : dir_(dir) {
  if (mount(dir.c_str(), dir.c_str(), nullptr, MS_BIND, nullptr) != 0) return;
  if (mount(nullptr, dir.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
    umount2(dir.c_str(), MNT_DETACH);
    return;
  }
  mounted_ = true;
}

ReadOnlyBind::~ReadOnlyBind() {
  if (mounted_) umount2(dir_.c_str(), MNT_DETACH);
}
