// temp_dir.cpp: see temp_dir.h.
#include "temp_dir.h"

#include <dirent.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

void RemoveTree(const std::string& path) {
  struct stat info;
  if (lstat(path.c_str(), &info) != 0) return;
  if (S_ISDIR(info.st_mode)) {
    for (const std::string& name : ListDir(path)) RemoveTree(path + "/" + name);
    rmdir(path.c_str());
  } else {
    unlink(path.c_str());
  }
}

}  // namespace

TempDir::TempDir() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/zel-test-XXXXXX";
  if (mkdtemp(&pattern[0]) == nullptr)
    throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempDir::~TempDir() { RemoveTree(path_); }

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return "<missing>";
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

std::set<std::string> ListDir(const std::string& dir) {
  std::set<std::string> names;
  if (DIR* stream = opendir(dir.c_str())) {
    while (const dirent* entry = readdir(stream)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.insert(name);
    }
    closedir(stream);
  }
  return names;
}

unsigned FileMode(const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return 0;
  return info.st_mode & 07777;
}

ReadOnlyBind::ReadOnlyBind(const std::string& dir) : dir_(dir) {
  if (mount(dir.c_str(), dir.c_str(), nullptr, MS_BIND, nullptr) != 0) return;
  if (mount(nullptr, dir.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY,
            nullptr) != 0) {
    umount2(dir.c_str(), MNT_DETACH);
    return;
  }
  mounted_ = true;
}

ReadOnlyBind::~ReadOnlyBind() {
  if (mounted_) umount2(dir_.c_str(), MNT_DETACH);
}
