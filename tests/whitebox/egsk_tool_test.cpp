// egsk_tool_test.cpp: zel-egsk as a provisioning host runs it: wrap gives
// the protected form the key setups take, unwrap undoes it, new makes a
// usable key set, and no command overwrites a file or takes a bad key.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "core_driver.h"
#include "temp_dir.h"

namespace {

int egsk(const std::string& arguments) {
  const std::string command =
      std::string("'") + ZEL_EGSK_TOOL + "' " + arguments + " 2>/dev/null";
  return std::system(command.c_str());
}

std::string quoted(const std::string& path) { return "'" + path + "'"; }

Bytes bytes_of(const std::string& s) { return Bytes(s.begin(), s.end()); }

class EgskToolTest : public ::testing::Test {
 protected:
  TempDir dir_;
};

TEST_F(EgskToolTest, WrapGivesTheKeySetupFormAndUnwrapUndoesIt) {
  for (size_t len : {16u, 32u}) {
    TempDir d;
    std::string raw;
    for (size_t i = 0; i < len; ++i) raw.push_back(static_cast<char>(i * 11 + 3));
    WriteFile(d / "raw.bin", raw);
    ASSERT_EQ(egsk("wrap --seed " + quoted(ZEL_WB_SEED_FILE) + " --in " +
                   quoted(d / "raw.bin") + " --out " + quoted(d / "p.bin")),
              0);
    EXPECT_EQ(bytes_of(ReadFile(d / "p.bin")),
              protect_with_build_seed(bytes_of(raw)));
    ASSERT_EQ(egsk("unwrap --seed " + quoted(ZEL_WB_SEED_FILE) + " --in " +
                   quoted(d / "p.bin") + " --out " + quoted(d / "back.bin")),
              0);
    EXPECT_EQ(ReadFile(d / "back.bin"), raw);
  }
}

TEST_F(EgskToolTest, RefusesBadKeysExistingOutputsAndBadArguments) {
  WriteFile(dir_ / "raw24.bin", std::string(24, 'k'));
  WriteFile(dir_ / "raw.bin", std::string(16, 'k'));
  WriteFile(dir_ / "taken.bin", "x");
  const std::string seed = " --seed " + quoted(ZEL_WB_SEED_FILE);
  EXPECT_NE(egsk("wrap" + seed + " --in " + quoted(dir_ / "raw24.bin") +
                 " --out " + quoted(dir_ / "out.bin")), 0);
  EXPECT_NE(egsk("wrap" + seed + " --in " + quoted(dir_ / "raw.bin") +
                 " --out " + quoted(dir_ / "taken.bin")), 0);
  EXPECT_EQ(ReadFile(dir_ / "taken.bin"), "x");
  EXPECT_NE(egsk("wrap --seed " + quoted(dir_ / "raw.bin") + " --in " +
                 quoted(dir_ / "raw.bin") + " --out " + quoted(dir_ / "o2.bin")),
            0);  // a 16-byte file is no seed
  EXPECT_NE(egsk("wrap" + seed + " --in " + quoted(dir_ / "raw.bin")), 0);
  EXPECT_NE(egsk("new --out-dir " + quoted(dir_.path()) + " --key-bits 192"), 0);
  EXPECT_NE(egsk("frobnicate"), 0);
}

TEST_F(EgskToolTest, NewMakesAPrivateKeySetAndRefusesToReplaceIt) {
  for (const char* bits : {"128", "256"}) {
    TempDir d;
    ASSERT_EQ(egsk("new --out-dir " + quoted(d.path()) + " --key-bits " + bits), 0);
    const size_t key_len = std::string(bits) == "128" ? 16 : 32;
    EXPECT_EQ(ReadFile(d / "wb_seed.bin").size(), 32u);
    EXPECT_EQ(ReadFile(d / "egsk.bin").size(), key_len);
    EXPECT_EQ(ReadFile(d / "uid.bin").size(), 16u);
    for (const char* secret : {"wb_seed.bin", "egsk.bin"}) {
      struct stat st;
      ASSERT_EQ(::stat((d / secret).c_str(), &st), 0);
      EXPECT_EQ(st.st_mode & 0777, 0600u) << secret;
    }
    // The protected key unwraps with its own seed.
    EXPECT_EQ(egsk("unwrap --seed " + quoted(d / "wb_seed.bin") + " --in " +
                   quoted(d / "egsk.bin") + " --out " + quoted(d / "raw.bin")),
              0);
    EXPECT_EQ(ReadFile(d / "raw.bin").size(), key_len);
    const std::string seed_before = ReadFile(d / "wb_seed.bin");
    EXPECT_NE(egsk("new --out-dir " + quoted(d.path())), 0);
    EXPECT_EQ(ReadFile(d / "wb_seed.bin"), seed_before);
  }
}

}  // namespace
