// Peak memory of StoreKeyChain and LoadKeyChain for one large item (100 MB),
// against the goal of at most about twice the item's size.
//
// Two measures per call, both as the rise above what the process held just
// before the call:
// - peak_heap_per_item: the highest number of heap bytes in use (counted by
//   this program's operator new/delete) during the call, divided by the
//   item's size. The keychain that holds the item before a store, and the
//   one that holds it after a load, are not counted.
// - peak_rss_per_item: the process's peak resident size (VmHWM, reset
//   through /proc/self/clear_refs before the call), divided likewise.
//
// The store runs into ZEL_BENCH_DIR, else /var/tmp.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <new>
#include <string>

#include "TZelKeyStore.h"

namespace {

size_t g_in_use = 0;
size_t g_peak = 0;

void Count(void* block, bool allocated) {
  const size_t size = malloc_usable_size(block);
  if (allocated) {
    g_in_use += size;
    if (g_in_use > g_peak) g_peak = g_in_use;
  } else {
    g_in_use -= size;
  }
}

}  // namespace

void* operator new(size_t size) {
  void* block = malloc(size ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  Count(block, true);
  return block;
}

static void ReleaseCounted(void* block) {
  if (block == nullptr) return;
  Count(block, false);
  free(block);
}
void operator delete(void* block) noexcept { ReleaseCounted(block); }
void operator delete(void* block, size_t) noexcept { ReleaseCounted(block); }

namespace {

constexpr size_t kItemBytes = 100 * 1000 * 1000;

// StatusKb reads a "Vm..." line of /proc/self/status, in kB.
long StatusKb(const char* key) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.compare(0, std::strlen(key), key) == 0) return std::atol(line.c_str() + std::strlen(key) + 1);
  return -1;
}

// Peak measures the rise of the heap and of the resident size over one
// call.
struct Peak {
  size_t heap_before = g_in_use;
  long rss_before;
  Peak() {
    std::ofstream("/proc/self/clear_refs") << "5";  // resets VmHWM
    rss_before = StatusKb("VmRSS:");
    g_peak = g_in_use;
  }
  void Report(benchmark::State& state) const {
    state.counters["peak_heap_per_item"] =
        static_cast<double>(g_peak - heap_before) / kItemBytes;
    state.counters["peak_rss_per_item"] =
        static_cast<double>(StatusKb("VmHWM:") - rss_before) * 1024 / kItemBytes;
  }
};

std::string g_root;

std::unique_ptr<TZelKeyStore> KeyStore() {
  setenv("HEVO_PERSISTENT_STORAGE", g_root.c_str(), 1);
  return std::unique_ptr<TZelKeyStore>(new TZelKeyStore);
}

void FillLargeItem(TZelKeyChain& chain) {
  THevoBlob item;
  item.GetContainer().resize(kItemBytes);
  for (size_t i = 0; i < kItemBytes; ++i) item.GetContainer()[i] = static_cast<uint8_t>(i * 131);
  chain.SetItem(TZelKeyChain::ITEM_TYPE_PRIVATE_KEY, item);
}

void StoreLargeItem(benchmark::State& state) {
  const auto store = KeyStore();
  TZelKeyChain chain("large");
  FillLargeItem(chain);
  for (auto _ : state) {
    const Peak peak;
    if (!store->StoreKeyChain(chain)) state.SkipWithError("StoreKeyChain failed");
    peak.Report(state);
  }
}

void LoadLargeItem(benchmark::State& state) {
  const auto store = KeyStore();
  {
    TZelKeyChain chain("large");
    FillLargeItem(chain);
    if (!store->StoreKeyChain(chain)) state.SkipWithError("StoreKeyChain failed");
  }
  for (auto _ : state) {
    TZelKeyChain chain("large");
    const Peak peak;
    if (!store->LoadKeyChain(chain)) state.SkipWithError("LoadKeyChain failed");
    peak.Report(state);
  }
  TZelKeyChain chain("large");
  chain.SetItem(TZelKeyChain::ITEM_TYPE_PRIVATE_KEY, std::string());
  store->EraseKeyChain(chain);
}

}  // namespace

BENCHMARK(StoreLargeItem)->Name("KeyStoreMemory/Store/100MB")->Iterations(1)->UseRealTime();
BENCHMARK(LoadLargeItem)->Name("KeyStoreMemory/Load/100MB")->Iterations(1)->UseRealTime();

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const char* base = std::getenv("ZEL_BENCH_DIR");
  std::string pattern = std::string(base && *base ? base : "/var/tmp") + "/zel-memory-XXXXXX";
  if (mkdtemp(&pattern[0]) == nullptr) return 1;
  g_root = pattern;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  rmdir((g_root + "/zel_keystore").c_str());
  rmdir(g_root.c_str());
  return 0;
}
