// Item files that do not decrypt, at each place among a keychain's files.
//
// A file that the cipher refuses (empty, not whole blocks, a pad byte of 0
// or above 16) throws out of LoadKeyChain: the files sorted before it have
// been added to the keychain, the ones after it have not, and nothing is
// logged. A file whose plaintext is empty is logged and skipped. A file of
// random bytes whose last byte happens to unpad loads as an item of
// garbage: the item file carries no integrity check.
#include <gtest/gtest.h>
#include <unistd.h>

#include <random>

#include "TZelSecureStore.h"
#include "key_store_checks.h"
#include "temp_dir.h"

namespace {

// What the store's own cipher makes of a file's bytes.
struct Decryption {
  std::string thrown;  // the exception's message, empty if none
  bool ok = false;
  std::string plaintext;
};

Decryption Decrypt(const std::string& file) {
  Decryption result;
  THevoBlob plain;
  try {
    result.ok = TZelSecureStore::GetInstance().Decrypt(THevoBlob(file), plain);
  } catch (const char* message) {
    result.thrown = message;
  }
  result.plaintext.assign(plain.GetContainer().begin(), plain.GetContainer().end());
  return result;
}

// RandomFileWhere returns the first of a fixed sequence of random
// |size|-byte files whose decryption passes |wanted|.
template <typename Wanted>
std::string RandomFileWhere(size_t size, Wanted wanted) {
  std::mt19937 random(77);
  for (int tries = 0; tries < 100000; ++tries) {
    std::string file(size, '\0');
    for (char& byte : file) byte = static_cast<char>(random());
    if (wanted(Decrypt(file))) return file;
  }
  ADD_FAILURE() << "no random file of " << size << " bytes decrypts as wanted";
  return std::string();
}

bool Throws(const Decryption& d, const std::string& message) { return d.thrown == message; }

struct BadFile {
  const char* what;
  std::string bytes;
};

std::vector<BadFile> BadFiles() {
  return {
      {"empty", ""},
      {"15 bytes", std::string(15, 'x')},
      {"40 bytes", std::string(40, 'x')},
      {"a pad byte of 0", RandomFileWhere(32, [](const Decryption& d) {
         return Throws(d, "ASSERTION FAILED: (size_t)c > 0");
       })},
      {"a pad byte above 16", RandomFileWhere(32, [](const Decryption& d) {
         return Throws(d, "ASSERTION FAILED: (size_t)c <= AES_BLOCK_SIZE");
       })},
      {"one block of padding only",
       RandomFileWhere(16, [](const Decryption& d) { return d.thrown.empty() && !d.ok; })},
      {"random bytes that unpad",
       RandomFileWhere(48, [](const Decryption& d) { return d.thrown.empty() && d.ok; })},
  };
}

TEST(UndecryptableFiles, ThrowOrAreSkippedOrLoadAsGarbage) {
  TempDir root;
  KeyStoreAt keys(root.path());
  ASSERT_TRUE(keys.StoreSample("dev", SampleVersion::kOld));
  const ItemBytes good = SampleItems(SampleVersion::kOld);
  // Ids that sort before every item, between two, and after every item.
  const std::string bad_ids[] = {".0.enc", ".d.enc", ".z.enc"};

  for (const BadFile& bad : BadFiles()) {
    const Decryption decrypted = Decrypt(bad.bytes);
    for (const std::string& bad_id : bad_ids) {
      SCOPED_TRACE(std::string(bad.what) + " as item " + bad_id);
      const std::string path = keys.dir() + "/dev" + bad_id;
      WriteFile(path, bad.bytes);
      TZelKeyChain chain("dev");
      TakeLogRecords();

      ItemBytes expected;
      if (!decrypted.thrown.empty()) {
        std::string thrown = "<no exception>";
        try {
          keys.store().LoadKeyChain(chain);
        } catch (const char* message) {
          thrown = message;
        }
        EXPECT_EQ(thrown, decrypted.thrown);
        for (const auto& item : good)
          if (item.first < bad_id) expected.insert(item);
        EXPECT_EQ(ErrorRecords(), std::vector<LogRecord>());
      } else {
        EXPECT_TRUE(keys.store().LoadKeyChain(chain));
        expected = good;
        if (decrypted.ok) {
          expected[bad_id] = decrypted.plaintext;
          EXPECT_EQ(ErrorRecords(), std::vector<LogRecord>());
        } else {
          EXPECT_EQ(ErrorRecords(),
                    (std::vector<LogRecord>{
                        {2, "[TZelKeyStore] Can't load/decrypt keychain data from '%s'.",
                         "[TZelKeyStore] Can't load/decrypt keychain data from '" + path +
                             "'."}}));
        }
      }
      EXPECT_EQ(ItemsOf(chain), expected);
      unlink(path.c_str());
    }
  }
}

}  // namespace
