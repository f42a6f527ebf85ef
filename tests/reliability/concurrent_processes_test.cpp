// Processes that share a keychain: two store its old and its new version
// over and over while a third loads it; every load returns the keychain as
// one store left it, never a mix of the two.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>

#include "key_store_checks.h"
#include "temp_dir.h"

namespace {

constexpr int kStoresPerWriter = 150;

TEST(ConcurrentProcesses, LoadsNeverSeeAMixOfTwoStores) {
  TempDir root;
  KeyStoreAt keys(root.path());
  ASSERT_TRUE(keys.StoreSample(SampleVersion::kOld));
  pid_t writers[2];
  for (const SampleVersion version : {SampleVersion::kOld, SampleVersion::kNew}) {
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      KeyStoreAt own(root.path());  // a process of its own, with its own key store
      for (int i = 0; i < kStoresPerWriter; ++i)
        if (!own.StoreSample(version)) _exit(1);
      _exit(0);
    }
    writers[static_cast<int>(version)] = pid;
  }
  int loads = 0, running = 2;
  bool ended[2] = {false, false};
  int status[2] = {-1, -1};  // each writer's wait status (-1: none to be had)
  std::set<std::string> seen;
  while (running > 0) {
    const auto held = keys.HeldVersions();
    std::set<std::string> versions;
    for (const auto& item : held) versions.insert(item.second);
    ASSERT_EQ(versions.size(), 1u) << "load " << loads << " got a mix: "
                                   << ::testing::PrintToString(held);
    seen.insert(*versions.begin());
    ++loads;
    running = 0;
    for (int w = 0; w < 2; ++w) {
      if (!ended[w]) ended[w] = waitpid(writers[w], &status[w], WNOHANG) != 0;
      running += !ended[w];
    }
  }
  // Every store of both writers succeeded.
  for (const int writer : status) EXPECT_TRUE(WIFEXITED(writer) && WEXITSTATUS(writer) == 0);
  EXPECT_GT(loads, 20);
  std::printf("%d loads, versions seen: %zu\n", loads, seen.size());
}

}  // namespace
