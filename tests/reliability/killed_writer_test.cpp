// A process killed at random points while it stores a keychain again and
// again: afterwards every item file holds its old or its new bytes whole,
// and no temporary of the killed writer is ever listed or loaded.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "key_store_checks.h"
#include "temp_dir.h"

namespace {

// RunWriter stores the sample keychain in the new and the old version by
// turns until it is killed; it tells |ready| once it is about to begin.
[[noreturn]] void RunWriter(const std::string& root, int ready) {
  KeyStoreAt writer(root);
  const char go = 'g';
  if (write(ready, &go, 1) != 1) _exit(2);
  for (unsigned round = 0;; ++round) {
    writer.StoreSample("dev", round % 2 == 0 ? SampleVersion::kNew : SampleVersion::kOld);
    TakeLogRecords();  // the captured traces would pile up otherwise
  }
}

TEST(KilledWriter, EveryItemHoldsItsOldOrItsNewBytes) {
  TempDir root;
  KeyStoreAt reader(root.path());
  ASSERT_TRUE(reader.StoreSample("dev", SampleVersion::kOld));

  // The kill points: random delays after the writer has started, from a
  // fixed seed. A keychain takes some milliseconds to store (eight syncs), so
  // the kills land before, inside and between item files.
  std::mt19937 random(20240607);
  std::uniform_int_distribution<int> delay_us(0, 25000);
  int mixed_rounds = 0;
  for (int round = 0; round < 30; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      close(ready[0]);
      RunWriter(root.path(), ready[1]);
    }
    close(ready[1]);
    char go = 0;
    const bool started = read(ready[0], &go, 1) == 1;
    close(ready[0]);
    if (started) usleep(static_cast<useconds_t>(delay_us(random)));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(started) << "the writer died before it began";
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    const auto held = reader.HeldVersions("dev");
    for (const auto& item : held)
      EXPECT_TRUE(item.second == "old" || item.second == "new")
          << item.first << " holds " << item.second << " bytes";
    if (held != AllItems("old") && held != AllItems("new")) ++mixed_rounds;
    // Only the item files are listed, whatever the killed writer left.
    EXPECT_EQ(reader.Listed(), SampleFileNames("dev"));
  }
  RecordProperty("rounds_with_old_and_new_items", mixed_rounds);

  // The next store removes every temporary that a killed writer abandoned.
  ASSERT_TRUE(reader.StoreSample("dev", SampleVersion::kOld));
  EXPECT_EQ(reader.Temporaries(), std::set<std::string>());
  EXPECT_EQ(reader.HeldVersions("dev"), AllItems("old"));
}

}  // namespace
