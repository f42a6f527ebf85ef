// seed_file.cpp: see seed_file.h.
#include "seed_file.h"

#include <cstdio>

#include "aes_reference.h"

namespace zel_wbgen {

Seed::~Seed() { zel_ref::secure_wipe(bytes, sizeof bytes); }

bool read_seed_file(const std::string& path, Seed& seed, std::string& error) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    error = "cannot open seed file " + path;
    return false;
  }
  // Unbuffered: no stdio buffer is left holding a copy of the seed.
  std::setvbuf(file, nullptr, _IONBF, 0);
  const std::size_t got = std::fread(seed.bytes, 1, kSeedSize, file);
  const bool longer = std::fgetc(file) != EOF;
  std::fclose(file);
  if (got != kSeedSize || longer) {
    zel_ref::secure_wipe(seed.bytes, sizeof seed.bytes);
    error = "seed file " + path + " must hold exactly 32 bytes";
    return false;
  }
  return true;
}

}  // namespace zel_wbgen
