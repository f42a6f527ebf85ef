// load_fuzz_target.cpp: arbitrary bytes as an item file, read through the
// secure store and through the key store.
//
// Each input becomes the item file "fuzz.item.enc", beside a valid item
// file "fuzz.a.enc" that sorts before it, in a key-store directory of the
// process's own. Then:
// - TZelSecureStore::Load throws a "ASSERTION FAILED: " message, or returns
//   true with a plaintext 1 to 16 bytes shorter than a whole-block input, or
//   returns false with an empty output;
// - a plaintext of 16 bytes or more encrypts and decrypts to itself;
// - LoadKeyChain throws the same message with only the valid item added, or
//   returns true holding the valid item and, when Load succeeded, the
//   fuzzed item with Load's bytes; a failed Load is logged once.
// A broken rule aborts, which the fuzzer reports as a crash.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "TZelKeyStore.h"
#include "TZelSecureStore.h"
#include "error_log_counter.h"

namespace {

const char kAssertion[] = "ASSERTION FAILED: ";
const std::string kValidItem = "a valid item of more than one block";

void Require(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "broken rule: %s\n", rule);
  std::abort();
}

std::string Bytes(const THevoBlob& blob) {
  return std::string(blob.GetContainer().begin(), blob.GetContainer().end());
}

// Place is the key-store directory of this process, with the valid item
// stored; it is removed at exit.
class Place {
 public:
  Place() {
    const char* base = std::getenv("TMPDIR");
    root_ = std::string(base && *base ? base : "/tmp") + "/zel-fuzz-XXXXXX";
    Require(mkdtemp(&root_[0]) != nullptr, "a temporary directory can be made");
    setenv("HEVO_PERSISTENT_STORAGE", root_.c_str(), 1);
    store_ = new TZelKeyStore;  // kept for the process's life
    unsetenv("HEVO_PERSISTENT_STORAGE");
    TZelKeyChain valid("fuzz");
    valid.SetItem(".a.enc", kValidItem);
    Require(store_->StoreKeyChain(valid), "the valid item can be stored");
    TakeErrorLogCount();
  }
  ~Place() {
    unlink(ItemPath().c_str());
    unlink((Dir() + "/fuzz.a.enc").c_str());
    rmdir(Dir().c_str());
    rmdir(root_.c_str());
  }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  TZelKeyStore& store() { return *store_; }
  std::string Dir() const { return root_ + "/zel_keystore"; }
  std::string ItemPath() const { return Dir() + "/fuzz.item.enc"; }

 private:
  std::string root_;
  TZelKeyStore* store_;
};

void WriteItemFile(const std::string& path, const uint8_t* data, size_t size) {
  FILE* file = std::fopen(path.c_str(), "wb");
  Require(file != nullptr, "the item file can be written");
  // An empty input may come without a buffer: fwrite must not see null.
  if (size > 0)
    Require(std::fwrite(data, 1, size, file) == size, "the item file can be written");
  Require(std::fclose(file) == 0, "the item file can be written");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Place place;
  TZelSecureStore& secure = TZelSecureStore::GetInstance();
  WriteItemFile(place.ItemPath(), data, size);

  THevoBlob plain;
  bool loaded = false;
  std::string thrown;
  try {
    loaded = secure.Load(place.ItemPath(), plain);
  } catch (const char* message) {
    thrown = message;
    Require(std::strncmp(message, kAssertion, sizeof kAssertion - 1) == 0,
            "the cipher throws assertion messages only");
  }
  const size_t plain_size = plain.GetContainer().size();
  if (thrown.empty() && loaded) {
    Require(size % 16 == 0 && plain_size + 16 >= size && plain_size < size,
            "a plaintext is the input less 1 to 16 bytes of padding");
    if (plain_size >= 16) {
      THevoBlob again, back;
      Require(secure.Encrypt(plain, again) && secure.Decrypt(again, back) &&
                  Bytes(back) == Bytes(plain),
              "a plaintext encrypts and decrypts to itself");
    }
  } else if (thrown.empty()) {
    Require(plain_size == 0, "a failed decryption leaves the output empty");
  }

  TZelKeyChain chain("fuzz");
  std::string chain_thrown;
  bool chain_result = false;
  TakeErrorLogCount();
  try {
    chain_result = place.store().LoadKeyChain(chain);
  } catch (const char* message) {
    chain_thrown = message;
  }
  Require(chain_thrown == thrown, "the key store passes the cipher's exception on");
  const auto& items = chain.GetContainer();
  Require(items.count(".a.enc") == 1 && Bytes(items.at(".a.enc")) == kValidItem,
          "the item sorted before the fuzzed one is loaded");
  if (thrown.empty()) {
    Require(chain_result, "a keychain with an item reports true");
    Require(items.size() == (loaded ? 2u : 1u), "the fuzzed item loads when Load succeeds");
    if (loaded) Require(Bytes(items.at(".item.enc")) == Bytes(plain), "both reads agree");
    Require(TakeErrorLogCount() == (loaded ? 0u : 1u), "a failed item file is logged once");
  } else {
    Require(items.size() == 1u, "nothing after the throwing file is loaded");
  }
  return 0;
}
