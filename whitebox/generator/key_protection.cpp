// key_protection.cpp: see key_protection.h.
#include "key_protection.h"

#include "aes_reference.h"

namespace zel_wbgen {

std::vector<ByteMap> protection_maps(const uint8_t seed[32],
                                     unsigned key_len) {
  ChaCha20Stream stream(seed, key_len == 16
                                  ? StreamPurpose::kKeyProtection128
                                  : StreamPurpose::kKeyProtection256);
  std::vector<ByteMap> maps;
  for (unsigned j = 0; j < key_len; ++j)
    maps.push_back(random_encoding(stream));
  return maps;
}

void wipe_maps(std::vector<ByteMap>& maps) {
  for (ByteMap& map : maps) zel_ref::secure_wipe(map.data(), map.size());
}

void protect_key(const uint8_t seed[32], const uint8_t* in, unsigned key_len,
                 uint8_t* out) {
  std::vector<ByteMap> maps = protection_maps(seed, key_len);
  for (unsigned j = 0; j < key_len; ++j) out[j] = maps[j][in[j]];
  wipe_maps(maps);
}

void unprotect_key(const uint8_t seed[32], const uint8_t* in,
                   unsigned key_len, uint8_t* out) {
  std::vector<ByteMap> maps = protection_maps(seed, key_len);
  for (unsigned j = 0; j < key_len; ++j)
    for (unsigned x = 0; x < 256; ++x)
      if (maps[j][x] == in[j]) out[j] = static_cast<uint8_t>(x);
  wipe_maps(maps);
}

}  // namespace zel_wbgen
