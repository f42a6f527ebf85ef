// generator_test.cpp: zel-wb-generate is a function of the seed alone: run
// again on a copy of the build's seed it writes the build's sources byte
// for byte.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "temp_dir.h"

TEST(Generator, SameSeedGivesTheBuildsBytes) {
  TempDir dir;
  WriteFile(dir / "wb_seed.bin", ReadFile(ZEL_WB_SEED_FILE));
  const std::string command = std::string("'") + ZEL_WB_GENERATOR +
                              "' --seed '" + (dir / "wb_seed.bin") +
                              "' --out-dir '" + dir.path() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  for (const char* name :
       {"wb_enc_tables.cpp", "wb_dec_tables.cpp", "wb_table_size.cpp"})
    EXPECT_EQ(ReadFile(dir / name),
              ReadFile(std::string(ZEL_WB_GENERATED_DIR) + "/" + name))
        << name;
}
