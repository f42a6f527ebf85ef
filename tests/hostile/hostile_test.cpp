// Hostile input as an application may pass it on: keychain names and item
// ids that try to leave the key-store directory or hit the temporaries, item
// files that try to hang or exhaust a load, freed memory that must not keep
// an item's bytes, and log records that must not be forged or lost.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <new>

#include "HevoFileUtils.h"
#include "TZelKeyStore.h"
#include "temp_dir.h"
#include "zelLogging.h"

// The test program replaces operator new/delete and fsync for every library
// in the process; while |g_armed| they look at what the library frees and
// syncs.
namespace {
bool g_armed = false;
const char kSecret[] = "S3cr3t:c0d3+k3y!";  // 16 bytes, the mark of an item
int g_freed_with_secret = 0;
std::vector<std::string> g_synced;
}  // namespace

void* operator new(size_t size) {
  if (void* block = malloc(size ? size : 1)) return block;
  throw std::bad_alloc();
}
static void Release(void* block) {
  if (g_armed && block && memmem(block, malloc_usable_size(block), kSecret, 16))
    ++g_freed_with_secret;
  free(block);
}
void operator delete(void* block) noexcept { Release(block); }
void operator delete(void* block, size_t) noexcept { Release(block); }

extern "C" __attribute__((visibility("default"))) int fsync(int fd) {
  char target[4096] = {};
  if (g_armed && readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), target,
                          sizeof target - 1) > 0)
    g_synced.push_back(target);
  return static_cast<int>(syscall(SYS_fsync, fd));
}

namespace {
namespace fs = std::filesystem;

// Scratch is a tree around the key-store directory: root/a/b/zel_keystore,
// with root/a/outside holding a file that nothing may touch.
struct Scratch {
  TempDir root;
  std::string outside = root / "a/outside", dir = root / "a/b/zel_keystore";
  std::unique_ptr<TZelKeyStore> store;
  Scratch() {
    fs::create_directories(outside);
    WriteFile(outside + "/victim.txt", "victim");
    setenv("HEVO_PERSISTENT_STORAGE", (root / "a/b").c_str(), 1);
    store.reset(new TZelKeyStore);
  }
  // Outside returns every file of the tree outside the key-store directory.
  std::map<std::string, std::string> Outside() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root.path()))
      if (entry.path().string().rfind(dir, 0) != 0)
        files[entry.path()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
    return files;
  }
};

THevoBlob Secret(size_t blocks) {
  THevoBlob blob;
  blob.GetContainer().reserve(blocks * 16);
  for (size_t i = 0; i < blocks; ++i)
    blob.GetContainer().insert(blob.GetContainer().end(), kSecret, kSecret + 16);
  return blob;
}

// Stderr returns what |run| writes to standard error (the default logger).
std::string Stderr(const std::function<void()>& run) {
  char name[] = "/tmp/zel-stderr-XXXXXX";
  const int file = mkstemp(name), saved = dup(2);
  unlink(name);
  dup2(file, 2);
  run();
  dup2(saved, 2);
  close(saved);
  std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
  EXPECT_EQ(pread(file, &text[0], text.size(), 0), static_cast<ssize_t>(text.size()));
  close(file);
  return text;
}

TEST(Hostile, NamesAndIdsThatLeaveTheDirectoryOrHitTemporariesAreRefused) {
  Scratch scratch;
  const auto before = scratch.Outside();
  const std::pair<std::string, std::string> rows[] = {
      {"../../outside/stolen", ".pem.enc"},       {"", "/../../outside/by-id"},
      {"../../outside/victim", ".txt"},           {"", ".hevo-tmp-999999-0"},
      {".hevo-tmp-1", "-2"},                      {std::string("dev\0ice", 7), ".pem.enc"},
      {"device", std::string(".pem\0.key", 9)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::PrintToString(row));
    TZelKeyChain chain(row.first);
    chain.SetItem(row.second, Secret(2));
    const std::string id = row.second.c_str();  // as %s prints it
    EXPECT_EQ(Stderr([&] { EXPECT_FALSE(scratch.store->StoreKeyChain(chain)); }),
              "<2> [TZelKeyStore] Can't encrypt/store keychain data for '" + id + "'.\n");
    EXPECT_EQ(Stderr([&] { EXPECT_FALSE(scratch.store->EraseKeyChain(chain)); }),
              "<2> [TZelKeyStore] Can't remove keychain data for '" + id + "'.\n");
    EXPECT_TRUE(chain.GetContainer().empty());
    TZelKeyChain loaded(row.first);
    EXPECT_FALSE(scratch.store->LoadKeyChain(loaded));
  }
  // "." and ".." are joined without a separator and stay inside.
  TZelKeyChain dots("..");
  dots.SetItem(".", Secret(1));
  EXPECT_TRUE(scratch.store->StoreKeyChain(dots));
  EXPECT_EQ(ListDir(scratch.dir), std::set<std::string>{"..."});
  EXPECT_EQ(scratch.Outside(), before);
}

TEST(Hostile, ItemFilesThatCouldHangOrExhaustALoadAreRefused) {
  alarm(60);  // a load that blocks fails the test instead of hanging it
  Scratch scratch;
  TZelKeyChain valid("valid");
  valid.SetItem(".pem.enc", Secret(2));
  ASSERT_TRUE(scratch.store->StoreKeyChain(valid));
  const std::string path = scratch.dir + "/h.pem.enc";
  const std::pair<const char*, std::function<bool()>> rows[] = {
      {"fifo", [&] { return mkfifo(path.c_str(), 0600) == 0; }},
      {"directory", [&] { return mkdir(path.c_str(), 0700) == 0; }},
      {"symlink", [&] { return symlink("valid.pem.enc", path.c_str()) == 0; }},
      {"sparse 64 GiB", [&] {
         WriteFile(path, "");
         return truncate(path.c_str(), 64LL << 30) == 0;
       }},
      // A /proc file says it is empty and then delivers its text.
      {"grows while read", [&] {
         WriteFile(path, "");
         return mount("/proc/self/status", path.c_str(), nullptr, MS_BIND, nullptr) == 0;
       }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.first);
    if (!row.second()) {  // only a mount may be refused, to a non-root user
      if (errno != EPERM) ADD_FAILURE() << "cannot make it: " << strerror(errno);
      continue;
    }
    THevoBlob out(std::string(20, 'o'));
    EXPECT_FALSE(TZelSecureStore::GetInstance().Load(path, out));
    EXPECT_EQ(out.GetContainer().size(), 20u);
    TZelKeyChain chain("h");
    EXPECT_FALSE(scratch.store->LoadKeyChain(chain));
    umount2(path.c_str(), MNT_DETACH);
    fs::remove(path);
  }
  TZelKeyChain huge("huge");
  huge.GetContainer()[".key.enc"].GetContainer().resize(TZelSecureStore::MAX_ITEM_SIZE + 1);
  EXPECT_FALSE(scratch.store->StoreKeyChain(huge));
  EXPECT_EQ(ListDir(scratch.dir), std::set<std::string>{"valid.pem.enc"});
}

TEST(Hostile, LiveTemporaryOfAnotherPidNamespaceSurvivesAStore) {
  Scratch scratch;
  const std::string temporary = scratch.dir + "/.hevo-tmp-999999-0";
  WriteFile(temporary, "being written");
  const int writer = open(temporary.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(writer, LOCK_EX), 0);
  WriteFile(scratch.dir + "/d.pem.enc", "older copy");
  chmod((scratch.dir + "/d.pem.enc").c_str(), 0644);
  TZelKeyChain chain("d");
  chain.SetItem(".pem.enc", Secret(2));
  EXPECT_TRUE(scratch.store->StoreKeyChain(chain));
  EXPECT_TRUE(fs::exists(temporary));
  EXPECT_EQ(FileMode(scratch.dir + "/d.pem.enc"), 0600u);
  close(writer);
}

TEST(Hostile, NoFreedBlockKeepsAnItemsBytes) {
  Scratch scratch;
  g_armed = true;
  {
    THevoBlob small = Secret(1), large = Secret(64), out = Secret(2);
    TZelKeyChain chain("k");
    chain.SetItem(".pem.enc", small);
    chain.SetItem(".pem.enc", large);  // outgrows the stored blob
    chain.GetItem(".pem.enc", out);    // outgrows the caller's blob
    chain.GetItem(".missing", out);    // clears it
    EXPECT_TRUE(scratch.store->StoreKeyChain(chain));
    TZelKeyChain loaded("k");
    EXPECT_TRUE(scratch.store->LoadKeyChain(loaded));
    EXPECT_TRUE(TZelSecureStore::GetInstance().Load(scratch.dir + "/k.pem.enc", small));
    EXPECT_TRUE(scratch.store->EraseKeyChain(loaded));
  }
  g_armed = false;
  EXPECT_EQ(g_freed_with_secret, 0);
}

TEST(Hostile, RemoveSyncsTheDirectory) {
  TempDir dir;
  WriteFile(dir / "item", "x");
  g_synced.clear();
  g_armed = true;
  EXPECT_TRUE(HevoFileUtils::Remove(dir / "item"));
  g_armed = false;
  EXPECT_EQ(g_synced, std::vector<std::string>{dir.path()});
}

TEST(Hostile, DefaultLoggerKeepsEachRecordOnOneLine) {
  EXPECT_EQ(Stderr([] { zelLogging_log(2, "[T] '%s'", "a\n<2> forged\x7f"); }),
            "<2> [T] 'a\\x0a<2> forged\\x7f'\n");
}

// The default logger reads its threshold once per process, so each row runs
// in a child of this program that logs one record at each level 0 to 7: the
// records up to the threshold, the threshold itself included, are written.
TEST(Hostile, DefaultLoggerWritesRecordsUpToItsThreshold) {
  if (std::getenv("ZEL_TEST_LOG_EACH_LEVEL")) {
    for (int level = 0; level < 8; ++level) zelLogging_log(level, "level %d", level);
    std::exit(0);
  }
  char self[4096] = {};
  ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
  const std::string filter =
      "--gtest_filter=Hostile.DefaultLoggerWritesRecordsUpToItsThreshold";
  const std::pair<const char*, int> rows[] = {{nullptr, 3}, {"6", 6}, {"0", 0}};
  for (const auto& [setting, threshold] : rows) {
    std::string want;
    for (int level = 0; level <= threshold; ++level)
      want += "<" + std::to_string(level) + "> level " + std::to_string(level) + "\n";
    const std::string got = Stderr([&, setting = setting] {
      const pid_t child = fork();
      if (child == 0) {
        setenv("ZEL_TEST_LOG_EACH_LEVEL", "1", 1);
        setting ? setenv("ZEL_LOG_LEVEL", setting, 1) : unsetenv("ZEL_LOG_LEVEL");
        // Through the build's emulator, if any, as CTest runs this program.
        const std::string emulator = ZEL_TEST_EMULATOR;
        if (emulator.empty())
          execl(self, self, filter.c_str(), static_cast<char*>(nullptr));
        else
          execl(emulator.c_str(), emulator.c_str(), self, filter.c_str(),
                static_cast<char*>(nullptr));
        _exit(127);
      }
      int status = 0;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0);
    });
    EXPECT_EQ(got, want) << (setting ? setting : "(not set)");
  }
}

}  // namespace
