// egsk_tool_test.cpp: zel-egsk wrap gives the protected form that the key
// setups take (the tests' own wrapping under the build's seed), unwrap
// undoes it, and new makes a key set whose protected key unwraps with its
// own seed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "temp_dir.h"
#include "test_keys.h"

namespace {

int egsk(const std::string& arguments) {
  const std::string command =
      std::string("'") + ZEL_EGSK_TOOL + "' " + arguments + " 2>/dev/null";
  return std::system(command.c_str());
}

std::string quoted(const std::string& path) { return "'" + path + "'"; }

TEST(EgskTool, WrapGivesTheKeySetupFormAndUnwrapUndoesIt) {
  for (size_t len : {16u, 32u}) {
    TempDir d;
    std::string raw;
    for (size_t i = 0; i < len; ++i) raw.push_back(static_cast<char>(i * 11 + 3));
    WriteFile(d / "raw.bin", raw);
    const std::string seed = "--seed " + quoted(ZEL_WB_SEED_FILE);
    ASSERT_EQ(egsk("wrap " + seed + " --in " + quoted(d / "raw.bin") +
                   " --out " + quoted(d / "p.bin")), 0);
    const std::string wrapped = ReadFile(d / "p.bin");
    EXPECT_EQ(std::vector<uint8_t>(wrapped.begin(), wrapped.end()),
              CoreKeyForm(std::vector<uint8_t>(raw.begin(), raw.end())));
    ASSERT_EQ(egsk("unwrap " + seed + " --in " + quoted(d / "p.bin") +
                   " --out " + quoted(d / "back.bin")), 0);
    EXPECT_EQ(ReadFile(d / "back.bin"), raw);
  }
}

TEST(EgskTool, NewMakesAKeySetThatUnwrapsWithItsOwnSeed) {
  TempDir d;
  ASSERT_EQ(egsk("new --out-dir " + quoted(d.path()) + " --key-bits 256"), 0);
  EXPECT_EQ(ReadFile(d / "egsk.bin").size(), 32u);
  EXPECT_EQ(ReadFile(d / "uid.bin").size(), 16u);
  ASSERT_EQ(egsk("unwrap --seed " + quoted(d / "wb_seed.bin") + " --in " +
                 quoted(d / "egsk.bin") + " --out " + quoted(d / "raw.bin")), 0);
  EXPECT_EQ(ReadFile(d / "raw.bin").size(), 32u);
}

}  // namespace
