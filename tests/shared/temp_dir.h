// temp_dir.h: helpers for tests that touch the file system.
#ifndef ZEL_TESTS_SHARED_TEMP_DIR_H
#define ZEL_TESTS_SHARED_TEMP_DIR_H

#include <filesystem>
#include <set>
#include <string>

// TempDir creates a fresh directory under the system's temporary directory
// and removes it with everything in it when it goes out of scope.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// ReadFile returns the file's bytes ("<missing>" if unreadable).
std::string ReadFile(const std::string& path);
// WriteFile creates or truncates the file with |bytes|.
void WriteFile(const std::string& path, const std::string& bytes);
// ListDir returns every name in |dir| (none if it cannot be listed) but the
// key store's lock file, which stays once made.
std::set<std::string> ListDir(const std::string& dir);
// FileMode returns the permission bits of |path|, 0 if it is missing.
unsigned FileMode(const std::string& path);

// ReadOnlyBind makes |dir| read-only by bind-mounting it read-only onto
// itself (root ignores permission bits). Ok() is false where mounting is not
// permitted; the mount is undone on destruction.
class ReadOnlyBind {
 public:
  explicit ReadOnlyBind(const std::string& dir);
  ~ReadOnlyBind();
  ReadOnlyBind(const ReadOnlyBind&) = delete;
  ReadOnlyBind& operator=(const ReadOnlyBind&) = delete;
  bool Ok() const { return mounted_; }

 private:
  std::string dir_;
  bool mounted_ = false;
};

#endif  // ZEL_TESTS_SHARED_TEMP_DIR_H
