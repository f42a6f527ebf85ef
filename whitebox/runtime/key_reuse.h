// key_reuse.h: whether a key setup may keep the keyed tables it has.
//
// A key setup records the protected key it built its keyed tables from in
// the working block and its length in the state's |aux| word (0: nothing
// built yet; the wrapper sets aux to 0). A later setup with the same key
// then only restarts the chain: loading a keychain sets up the same store
// key once per item file, and building the tables was most of that cost.
//
// Constant time: the comparison reads all |key_len| bytes whatever they
// hold; only its result (same key or not) decides a branch.
#ifndef ZEL_WHITEBOX_RUNTIME_KEY_REUSE_H
#define ZEL_WHITEBOX_RUNTIME_KEY_REUSE_H

#include <cstdint>

namespace zel_whitebox {

inline bool holds_key(uint32_t held_len, const uint8_t* held,
                      const uint8_t* key, unsigned key_len) {
  if (held_len != key_len) return false;
  uint8_t diff = 0;
  for (unsigned i = 0; i < key_len; ++i) diff |= held[i] ^ key[i];
  return diff == 0;
}

}  // namespace zel_whitebox

#endif  // ZEL_WHITEBOX_RUNTIME_KEY_REUSE_H
