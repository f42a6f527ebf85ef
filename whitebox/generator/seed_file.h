// seed_file.h: reading the white-box seed, the one secret input of the
// generated tables and of the protected key form.
//
// WARNING: the seed is key material. Seed holds it in a fixed array that it
// wipes on destruction.
#ifndef ZEL_WHITEBOX_GENERATOR_SEED_FILE_H
#define ZEL_WHITEBOX_GENERATOR_SEED_FILE_H

#include <cstdint>
#include <string>

namespace zel_wbgen {

constexpr unsigned kSeedSize = 32;

struct Seed {
  uint8_t bytes[kSeedSize];
  ~Seed();
};

// read_seed_file loads a seed file of exactly 32 bytes; it returns false
// and sets |error| on a missing file or another length.
bool read_seed_file(const std::string& path, Seed& seed, std::string& error);

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_SEED_FILE_H
