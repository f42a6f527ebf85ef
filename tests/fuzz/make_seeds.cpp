// make_seeds.cpp: writes the seed corpus of the item-file fuzz target.
//
//   zel_fuzz_make_seeds DIR
//
// The valid item files are encrypted by the library being built, so they
// are valid for its store key (the development key in the repository).
// Run it again after the store key or the core's encodings change.
#include <cstdio>
#include <random>
#include <string>

#include "TZelKeyChain.h"
#include "TZelSecureStore.h"
#include "sample_keychain.h"

namespace {

std::string Encrypted(const std::string& item) {
  THevoBlob cipher_text;
  TZelSecureStore::GetInstance().Encrypt(THevoBlob(item), cipher_text);
  return std::string(cipher_text.GetContainer().begin(), cipher_text.GetContainer().end());
}

bool Write(const std::string& path, const std::string& bytes) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return std::fclose(file) == 0 && written;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s DIR\n", argv[0]);
    return 2;
  }
  std::mt19937 random(4242);
  std::string noise(32, '\0');
  for (char& byte : noise) byte = static_cast<char>(random());
  const ItemBytes items = SampleItems(SampleVersion::kOld);

  const struct {
    const char* name;
    std::string bytes;
  } seeds[] = {
      {"valid-one-block-item", Encrypted("0123456789abcdef")},
      {"valid-public-key", Encrypted(items.at(TZelKeyChain::ITEM_TYPE_PUBLIC_KEY))},
      {"valid-private-key", Encrypted(items.at(TZelKeyChain::ITEM_TYPE_PRIVATE_KEY))},
      // The first block of a 16-byte item's file: a block of padding only,
      // which decrypts to an empty plaintext.
      {"padding-only", Encrypted(std::string(16, '\x10')).substr(0, 16)},
      {"empty", ""},
      {"15-bytes", std::string(15, '\x0f')},
      {"20-bytes", std::string(20, '\x14')},
      {"random-32-bytes", noise},
  };
  for (const auto& seed : seeds) {
    if (!Write(std::string(argv[1]) + "/" + seed.name, seed.bytes)) {
      std::perror(seed.name);
      return 1;
    }
  }
  return 0;
}
