// Item files that do not decrypt, at each place among a keychain's files.
//
// A file that the cipher refuses (empty, not whole blocks, a pad byte of 0
// or above 16) throws its "ASSERTION FAILED: " message out of LoadKeyChain:
// the files sorted before it have been added to the keychain, the ones
// after it have not, and nothing is logged. A file whose plaintext is empty
// is logged and skipped. A file of random bytes whose last byte happens to
// unpad loads as an item of garbage: the item file carries no integrity
// check.
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

// RandomFile returns the first of a fixed sequence of random |size|-byte
// files whose decryption throws |thrown| ("" for none) and reports |ok|.
std::string RandomFile(size_t size, const std::string& thrown, bool ok) {
  std::mt19937 random(77);
  for (int tries = 0; tries < 100000; ++tries) {
    std::string file(size, '\0');
    for (char& byte : file) byte = static_cast<char>(random());
    const Decryption d = Decrypt(file);
    if (d.thrown == thrown && d.ok == ok) return file;
  }
  ADD_FAILURE() << "no random file of " << size << " bytes decrypts as wanted";
  return std::string();
}

TEST(UndecryptableFiles, ThrowOrAreSkippedOrLoadAsGarbage) {
  TempDir root;
  KeyStoreAt keys(root.path());
  ASSERT_TRUE(keys.StoreSample(SampleVersion::kOld));
  const ItemBytes good = SampleItems(SampleVersion::kOld);
  const std::string bad_files[] = {
      "", std::string(15, 'x'), std::string(40, 'x'),
      RandomFile(32, "ASSERTION FAILED: (size_t)c > 0", false),
      RandomFile(32, "ASSERTION FAILED: (size_t)c <= AES_BLOCK_SIZE", false),
      RandomFile(16, "", false),  // one block of padding only
      RandomFile(48, "", true),   // random bytes that unpad
  };
  for (const std::string& bad : bad_files) {
    const Decryption decrypted = Decrypt(bad);
    // Ids that sort before every item, between two, and after every item.
    for (const std::string bad_id : {".0.enc", ".d.enc", ".z.enc"}) {
      SCOPED_TRACE(std::to_string(bad.size()) + " bytes (" + decrypted.thrown + ") as " + bad_id);
      const std::string path = keys.dir() + "/dev" + bad_id;
      WriteFile(path, bad);
      TZelKeyChain chain("dev");
      TakeLogRecords();
      std::string thrown;
      try {
        EXPECT_TRUE(keys.store().LoadKeyChain(chain));
      } catch (const char* message) {
        thrown = message;
      }
      EXPECT_EQ(thrown, decrypted.thrown);

      ItemBytes expected = good;
      std::vector<std::string> errors;
      if (!thrown.empty())
        expected.erase(expected.upper_bound(bad_id), expected.end());
      else if (decrypted.ok)
        expected[bad_id] = decrypted.plaintext;
      else
        errors.push_back("[TZelKeyStore] Can't load/decrypt keychain data from '" + path + "'.");
      EXPECT_EQ(ItemsOf(chain), expected);
      EXPECT_EQ(ErrorLines(), errors);
      unlink(path.c_str());
    }
  }
}

}  // namespace
