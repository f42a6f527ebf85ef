// Keychains per second through the key store: StoreKeyChain and
// LoadKeyChain of a keychain of the four standard items at realistic sizes
// (a 2048-bit RSA private key's PEM of 1.7 KB, certificates of 1.2 and
// 1.3 KB, a 451-byte public key), beside the same work done with OpenSSL's
// AES-CBC and plain crash-safe file writes (temporary, sync, rename,
// directory sync).
//
// "bound" is the same work through a host-bound build of the library
// (ZEL_DEVICE_BINDING=host, keystore_bound_driver.cpp): each item is also
// sealed with AES-256-GCM under a key derived from the host secret, which
// is created and read by one store before the timed loop.
//
// Names: KeyStore/<Store|Load>/<library|bound|openssl>/<disk|tmpfs>, and
// KeyStore/Store/library-item-by-item: the four items as four keychains of
// one item, each file replaced on its own (what a keychain store cost
// before its files were committed together). On "disk"
// every stored item costs two syncs that reach the device; "tmpfs" is the
// same work in memory, where a sync costs next to nothing, so the two differ
// by the file system's sync cost. items_per_second counts keychains,
// item_files_per_second item files. Times are wall-clock times: a sync
// waits without using the processor.
//
// The disk directory is made under ZEL_BENCH_DIR, else /var/tmp (on disk on
// most systems, where TMPDIR often is not). The tmpfs is mounted for the
// run when the process may mount (root), else /dev/shm is used.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <openssl/evp.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "TZelKeyStore.h"
#include "sample_keychain.h"

namespace {

const char kName[] = "device";

// ---------------------------------------------------------------------------
// Where the benchmarks write.

std::string MakeTempDir(const std::string& base) {
  std::string pattern = base + "/zel-bench-XXXXXX";
  return mkdtemp(&pattern[0]) ? pattern : std::string();
}

void RemoveTree(const std::string& path) {
  if (DIR* stream = opendir(path.c_str())) {
    while (const dirent* entry = readdir(stream)) {
      const std::string name = entry->d_name;
      if (name == "." || name == "..") continue;
      if (entry->d_type == DT_DIR)
        RemoveTree(path + "/" + name);
      else
        unlink((path + "/" + name).c_str());
    }
    closedir(stream);
  }
  rmdir(path.c_str());
}

// Places holds the disk and the tmpfs directory of the run.
class Places {
 public:
  Places() {
    const char* base = std::getenv("ZEL_BENCH_DIR");
    disk_ = MakeTempDir(base && *base ? base : "/var/tmp");
    tmpfs_ = MakeTempDir("/tmp");
    mounted_ = !tmpfs_.empty() &&
               mount("tmpfs", tmpfs_.c_str(), "tmpfs", 0, "size=16m") == 0;
    if (!mounted_) {
      if (!tmpfs_.empty()) rmdir(tmpfs_.c_str());
      tmpfs_ = MakeTempDir("/dev/shm");
    }
  }
  ~Places() {
    if (mounted_) umount2(tmpfs_.c_str(), MNT_DETACH);
    for (const std::string& dir : {disk_, tmpfs_})
      if (!dir.empty()) RemoveTree(dir);
  }
  Places(const Places&) = delete;
  Places& operator=(const Places&) = delete;

  bool Ok() const { return !disk_.empty() && !tmpfs_.empty(); }
  const std::string& disk() const { return disk_; }
  const std::string& tmpfs() const { return tmpfs_; }
  bool mounted() const { return mounted_; }

 private:
  std::string disk_, tmpfs_;
  bool mounted_ = false;
};

void CountKeychains(benchmark::State& state, size_t items) {
  state.SetItemsProcessed(state.iterations());
  state.counters["item_files_per_second"] = benchmark::Counter(
      static_cast<double>(state.iterations() * items), benchmark::Counter::kIsRate);
}

// ---------------------------------------------------------------------------
// The library.

std::unique_ptr<TZelKeyStore> KeyStoreIn(const std::string& root) {
  setenv("HEVO_PERSISTENT_STORAGE", root.c_str(), 1);
  std::unique_ptr<TZelKeyStore> store(new TZelKeyStore);
  unsetenv("HEVO_PERSISTENT_STORAGE");
  return store;
}

void LibraryStore(benchmark::State& state, std::string root) {
  const auto store = KeyStoreIn(root);
  TZelKeyChain chain(kName);
  FillKeyChain(chain, SampleItems(SampleVersion::kOld));
  for (auto _ : state) {
    if (!store->StoreKeyChain(chain)) {
      state.SkipWithError("StoreKeyChain failed");
      break;
    }
  }
  CountKeychains(state, chain.GetContainer().size());
}

// The same four items stored as four keychains of one item each: every
// file is replaced crash-safely on its own, as a keychain's files were
// before they changed together; the cost that a whole-keychain commit is
// measured against.
void LibraryStoreItemByItem(benchmark::State& state, std::string root) {
  const auto store = KeyStoreIn(root);
  std::vector<std::unique_ptr<TZelKeyChain>> singles;
  for (const auto& item : SampleItems(SampleVersion::kOld)) {
    singles.emplace_back(new TZelKeyChain(kName));
    FillKeyChain(*singles.back(), {item});
  }
  for (auto _ : state) {
    for (const auto& single : singles) {
      if (!store->StoreKeyChain(*single)) {
        state.SkipWithError("StoreKeyChain failed");
        return;
      }
    }
  }
  CountKeychains(state, singles.size());
}

void LibraryLoad(benchmark::State& state, std::string root) {
  const auto store = KeyStoreIn(root);
  TZelKeyChain stored(kName);
  FillKeyChain(stored, SampleItems(SampleVersion::kOld));
  if (!store->StoreKeyChain(stored)) state.SkipWithError("StoreKeyChain failed");
  for (auto _ : state) {
    TZelKeyChain chain(kName);
    if (!store->LoadKeyChain(chain)) {
      state.SkipWithError("LoadKeyChain failed");
      break;
    }
    benchmark::DoNotOptimize(chain.GetContainer().size());
  }
  CountKeychains(state, stored.GetContainer().size());
}

// ---------------------------------------------------------------------------
// A host-bound build of the library, through its driver module.

struct BoundDriver {
  void* (*open)(const char* root, const char* secret, const char* name);
  void (*close)(void* bench);
  int (*store)(void* bench);
  int (*load)(void* bench);
};

// LoadBoundDriver loads the driver once; nullptr if it cannot. DEEPBIND:
// the driver and its library resolve their own names first, so that the
// bound library's classes are not taken for the unbound library's.
const BoundDriver* LoadBoundDriver() {
  static BoundDriver driver;
  static const bool loaded = [] {
    void* module = dlopen(ZEL_BOUND_DRIVER, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (module == nullptr) return false;
    driver.open = reinterpret_cast<decltype(driver.open)>(dlsym(module, "zel_bound_bench_open"));
    driver.close = reinterpret_cast<decltype(driver.close)>(dlsym(module, "zel_bound_bench_close"));
    driver.store = reinterpret_cast<decltype(driver.store)>(dlsym(module, "zel_bound_bench_store"));
    driver.load = reinterpret_cast<decltype(driver.load)>(dlsym(module, "zel_bound_bench_load"));
    return driver.open && driver.close && driver.store && driver.load;
  }();
  return loaded ? &driver : nullptr;
}

// OpenBound opens the bound key store under |root| and stores the sample
// keychain once, untimed: that first store loads libcrypto and creates the
// host secret, which no later call repeats. nullptr (and the benchmark
// skipped) when it cannot.
void* OpenBound(benchmark::State& state, const BoundDriver* driver, const std::string& root) {
  if (driver == nullptr) {
    state.SkipWithError("cannot load the bound driver");
    return nullptr;
  }
  void* bench =
      driver->open((root + "/bound").c_str(), (root + "/bound-secret/host.secret").c_str(), kName);
  if (!driver->store(bench)) state.SkipWithError("StoreKeyChain failed");
  return bench;
}

void BoundStore(benchmark::State& state, std::string root) {
  const BoundDriver* driver = LoadBoundDriver();
  void* bench = OpenBound(state, driver, root);
  if (bench == nullptr) return;
  for (auto _ : state) {
    if (!driver->store(bench)) {
      state.SkipWithError("StoreKeyChain failed");
      break;
    }
  }
  driver->close(bench);
  CountKeychains(state, SampleItems(SampleVersion::kOld).size());
}

void BoundLoad(benchmark::State& state, std::string root) {
  const BoundDriver* driver = LoadBoundDriver();
  void* bench = OpenBound(state, driver, root);
  if (bench == nullptr) return;
  const int items = static_cast<int>(SampleItems(SampleVersion::kOld).size());
  for (auto _ : state) {
    if (driver->load(bench) != items) {
      state.SkipWithError("LoadKeyChain failed");
      break;
    }
  }
  driver->close(bench);
  CountKeychains(state, static_cast<size_t>(items));
}

// ---------------------------------------------------------------------------
// The same work with OpenSSL and plain crash-safe writes. It skips what the
// key store adds beyond that: the keychain's copies, the trace calls and the
// scan for abandoned temporaries before each item.

using Bytes = std::vector<uint8_t>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

class OpenSslFiles {
 public:
  explicit OpenSslFiles(const std::string& dir)
      : dir_(dir), context_(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free) {
    // A key as long as the library's store key; its value does not matter.
    const size_t key_size = ZEL_STORE_KEY_BYTES;
    key_.assign(key_size, 0x5a);
    iv_.assign(16, 0xa5);
    cipher_ = key_size == 32 ? EVP_aes_256_cbc() : EVP_aes_128_cbc();
    mkdir(dir.c_str(), 0755);
  }

  bool Store(const ItemBytes& items) {
    for (const auto& item : items) {
      const Bytes plain(item.second.begin(), item.second.end());
      Bytes cipher_text;
      if (!Crypt(true, plain, cipher_text) || !WriteCrashSafe(kName + item.first, cipher_text))
        return false;
    }
    return true;
  }

  bool Load(ItemBytes& items) {
    const std::string prefix = std::string(kName) + ".";
    std::vector<std::string> names;
    DIR* stream = opendir(dir_.c_str());
    if (stream == nullptr) return false;
    while (const dirent* entry = readdir(stream))
      if (std::string(entry->d_name).compare(0, prefix.size(), prefix) == 0)
        names.push_back(entry->d_name);
    closedir(stream);
    for (const std::string& name : names) {
      Bytes cipher_text, plain;
      if (!ReadFile(dir_ + "/" + name, cipher_text) || !Crypt(false, cipher_text, plain))
        return false;
      items[name.substr(sizeof kName - 1)].assign(plain.begin(), plain.end());
    }
    return true;
  }

 private:
  bool Crypt(bool encrypt, const Bytes& in, Bytes& out) {
    out.resize(in.size() + 16);
    int first = 0, last = 0;
    const bool ok =
        EVP_CipherInit_ex(context_.get(), cipher_, nullptr, key_.data(), iv_.data(),
                          encrypt ? 1 : 0) == 1 &&
        EVP_CipherUpdate(context_.get(), out.data(), &first, in.data(),
                         static_cast<int>(in.size())) == 1 &&
        EVP_CipherFinal_ex(context_.get(), out.data() + first, &last) == 1;
    out.resize(ok ? static_cast<size_t>(first + last) : 0);
    return ok;
  }

  bool WriteCrashSafe(const std::string& name, const Bytes& bytes) {
    const int dir = open(dir_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir < 0) return false;
    const std::string temporary = ".tmp-" + name;
    const int file = openat(dir, temporary.c_str(),
                            O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    bool ok = file >= 0 &&
              write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
              fsync(file) == 0;
    if (file >= 0) ok = close(file) == 0 && ok;
    ok = ok && renameat(dir, temporary.c_str(), dir, name.c_str()) == 0;
    if (!ok) unlinkat(dir, temporary.c_str(), 0);
    ok = ok && fsync(dir) == 0;
    close(dir);
    return ok;
  }

  static bool ReadFile(const std::string& path, Bytes& bytes) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    struct stat info;
    bool ok = fstat(file, &info) == 0;
    if (ok) {
      bytes.resize(static_cast<size_t>(info.st_size));
      ok = read(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
    close(file);
    return ok;
  }

  std::string dir_;
  CipherContext context_;
  const EVP_CIPHER* cipher_;
  Bytes key_, iv_;
};

void OpenSslStore(benchmark::State& state, std::string root) {
  OpenSslFiles files(root + "/openssl");
  const ItemBytes items = SampleItems(SampleVersion::kOld);
  for (auto _ : state) {
    if (!files.Store(items)) {
      state.SkipWithError("storing failed");
      break;
    }
  }
  CountKeychains(state, items.size());
}

void OpenSslLoad(benchmark::State& state, std::string root) {
  OpenSslFiles files(root + "/openssl");
  const ItemBytes stored = SampleItems(SampleVersion::kOld);
  if (!files.Store(stored)) state.SkipWithError("storing failed");
  for (auto _ : state) {
    ItemBytes items;
    if (!files.Load(items) || items.size() != stored.size()) {
      state.SkipWithError("loading failed");
      break;
    }
    benchmark::DoNotOptimize(items.size());
  }
  CountKeychains(state, stored.size());
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  Places places;
  if (!places.Ok()) {
    std::fprintf(stderr, "cannot make the benchmark directories\n");
    return 1;
  }
  benchmark::AddCustomContext("disk_dir", places.disk());
  benchmark::AddCustomContext("tmpfs_dir", places.tmpfs() + (places.mounted()
                                                                 ? " (tmpfs mounted for the run)"
                                                                 : " (/dev/shm)"));
  const struct {
    const char* name;
    void (*run)(benchmark::State&, std::string);
  } kinds[] = {{"Store/library", LibraryStore},
               {"Store/library-item-by-item", LibraryStoreItemByItem},
               {"Store/bound", BoundStore},
               {"Store/openssl", OpenSslStore},
               {"Load/library", LibraryLoad},
               {"Load/bound", BoundLoad},
               {"Load/openssl", OpenSslLoad}};
  for (const auto& kind : kinds)
    for (const auto& place : {std::make_pair("disk", places.disk()),
                              std::make_pair("tmpfs", places.tmpfs())})
      benchmark::RegisterBenchmark(
          (std::string("KeyStore/") + kind.name + "/" + place.first).c_str(), kind.run,
          place.second)
          ->UseRealTime();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
