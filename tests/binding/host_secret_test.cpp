// The host secret file: created once, 0400, whole before it is used; every
// file that breaks a rule is refused for loads and stores alike, and left
// exactly as it was.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>

#include "binding_test_util.h"
#include "host_secret.h"
#include "temp_dir.h"

namespace {

using zel_binding::DeviceValue;
using zel_binding::SourceStatus;

zel_binding::SourceResult Read(const std::string& path, bool create, DeviceValue& value) {
  return zel_binding::ReadHostSecret(Crypto(), path, create, value);
}

Bytes ValueOf(const DeviceValue& value) { return Bytes(value.data(), value.data() + value.size()); }

TEST(HostSecret, CreatedOnlyForAStoreThenReadBack) {
  TempDir root;
  const std::string dir = root / "state", path = dir + "/host.secret";
  DeviceValue value;
  const auto missing = Read(path, false, value);
  EXPECT_EQ(missing.status, SourceStatus::kDeviceAbsent);
  EXPECT_EQ(missing.reason, "the host secret '" + path +
                                "' is missing, and bound item files cannot be read without it");
  EXPECT_EQ(ListDir(root.path()), std::set<std::string>{});  // a load creates nothing

  ASSERT_EQ(Read(path, true, value).status, SourceStatus::kOk);
  const Bytes created = ValueOf(value);
  EXPECT_NE(created, Bytes(32, 0));
  struct stat info;
  ASSERT_EQ(stat(path.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0400u);
  EXPECT_EQ(info.st_size, 48);
  EXPECT_EQ(info.st_uid, geteuid());
  EXPECT_EQ(FileMode(dir), 0700u);
  EXPECT_EQ(ReadFile(path).substr(0, 8), std::string("ZELHOST\x01"));
  EXPECT_EQ(ListDir(dir), std::set<std::string>{"host.secret"});  // no temporary left

  DeviceValue again;
  ASSERT_EQ(Read(path, false, again).status, SourceStatus::kOk);
  EXPECT_EQ(ValueOf(again), created);
  ASSERT_EQ(Read(path, true, again).status, SourceStatus::kOk);  // never re-created
  EXPECT_EQ(ValueOf(again), created);
}

TEST(HostSecret, CreationRemovesTheTemporariesOfACrashedCreation) {
  TempDir dir;
  WriteFile(dir / ".host.secret.new-0123456789abcdef", "half");
  DeviceValue value;
  ASSERT_EQ(Read(dir / "host.secret", true, value).status, SourceStatus::kOk);
  EXPECT_EQ(ListDir(dir.path()), std::set<std::string>{"host.secret"});
}

TEST(HostSecret, EveryBrokenRuleIsRefusedAndNothingIsTouched) {
  const struct {
    const char* what;
    std::function<void(const std::string& path)> spoil;
    std::string reason;  // after "the host secret 'PATH' "
  } cases[] = {
      {"mode", [](const std::string& p) { chmod(p.c_str(), 0440); }, "has mode 0440, not 0400"},
      {"owner", [](const std::string& p) { ASSERT_EQ(chown(p.c_str(), 4321, 4321), 0); },
       "belongs to uid 4321, not to this process's uid " + std::to_string(geteuid())},
      {"link", [](const std::string& p) { ASSERT_EQ(link(p.c_str(), (p + ".2").c_str()), 0); },
       "has 2 links, not 1"},
      {"symlink", [](const std::string& p) { rename(p.c_str(), (p + ".real").c_str());
                                              ASSERT_EQ(symlink((p + ".real").c_str(), p.c_str()), 0); },
       "is a symbolic link"},
      {"directory", [](const std::string& p) { unlink(p.c_str()); mkdir(p.c_str(), 0700); },
       "is not a regular file"},
      {"fifo", [](const std::string& p) { unlink(p.c_str()); mkfifo(p.c_str(), 0400); },
       "is not a regular file"},
      {"size", [](const std::string& p) { ASSERT_EQ(truncate(p.c_str(), 47), 0); }, "has 47 bytes, not 48"},
      {"magic", [](const std::string& p) { std::string b = ReadFile(p); b[0] = 'z'; WriteFile(p, b); },
       "is corrupt (its magic, version or check is wrong)"},
      {"secret", [](const std::string& p) { std::string b = ReadFile(p); b[20] ^= 1; WriteFile(p, b); },
       "is corrupt (its magic, version or check is wrong)"},
  };
  for (const auto& c : cases) {
    if (std::string(c.what) == "owner" && geteuid() != 0) continue;  // chown needs root
    TempDir dir;
    const std::string path = dir / "host.secret";
    DeviceValue value;
    ASSERT_EQ(Read(path, true, value).status, SourceStatus::kOk);
    c.spoil(path);
    const std::set<std::string> names = ListDir(dir.path());
    struct stat before, after;
    lstat(path.c_str(), &before);
    // Not opened unless regular: a FIFO would block the test.
    const auto bytes = [&] { return S_ISREG(before.st_mode) ? ReadFile(path) : ""; };
    const std::string old_bytes = bytes();
    for (const bool create : {false, true}) {
      const auto result = Read(path, create, value);
      EXPECT_EQ(result.status, SourceStatus::kRefused) << c.what;
      EXPECT_EQ(result.reason, "the host secret '" + path + "' " + c.reason) << c.what;
      EXPECT_EQ(ValueOf(value), Bytes(32, 0)) << c.what;
    }
    lstat(path.c_str(), &after);
    EXPECT_EQ(ListDir(dir.path()), names) << c.what;
    EXPECT_EQ(bytes(), old_bytes) << c.what;
    EXPECT_EQ(after.st_mode, before.st_mode) << c.what;
  }
}

TEST(HostSecret, ARelativePathIsRefused) {
  DeviceValue value;
  const auto result = Read("host.secret", true, value);
  EXPECT_EQ(result.status, SourceStatus::kRefused);
  EXPECT_EQ(result.reason, "the host secret path 'host.secret' is not an absolute file path");
}

}  // namespace
