// HevoWipe.h: wiping of byte buffers that held keys or plaintext, for the
// base library and the key store. Header only; not installed.
//
// A std::vector frees or keeps its old bytes silently: when it shrinks
// (clear, a smaller resize or assignment) the dropped bytes stay in its
// capacity, and when it grows past its capacity it frees the old block
// unwiped. These helpers change a byte vector so that no byte it let go of
// is left behind: every byte outside the new content is zero before the
// vector drops it. Each keeps the vector's observable size and content as
// the plain operation would. None runs in constant time with respect to the
// sizes (sizes are not secret); the bytes are not looked at.
#ifndef HEVO_WIPE_H
#define HEVO_WIPE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace HevoWipe {

using Bytes = std::vector<uint8_t>;

// Wipe overwrites |size| bytes at |data| with zeros; the volatile stores
// keep the compiler from dropping it as dead.
inline void Wipe(void* data, size_t size) {
  volatile uint8_t* bytes = static_cast<volatile uint8_t*>(data);
  while (size--) *bytes++ = 0;
}

// WipeTail zeroes every byte of |v|'s allocation from |from| on, also the
// spare capacity beyond its size, and leaves the size at min(size, from).
// It never allocates: growing to the capacity keeps the block.
inline void WipeTail(Bytes& v, size_t from) {
  const size_t keep = v.size() < from ? v.size() : from;
  v.resize(v.capacity());
  Wipe(v.data() + keep, v.size() - keep);
  v.resize(keep);
}

// Clear empties |v|, keeping its capacity, with the old bytes wiped.
inline void Clear(Bytes& v) { WipeTail(v, 0); }

// Resize gives |v| the size |n| like v.resize(n) (new bytes zero), but
// wipes the bytes dropped by a shrink and the old block when it must grow
// past its capacity.
inline void Resize(Bytes& v, size_t n) {
  if (n > v.capacity()) {
    Bytes bigger;
    bigger.reserve(n);  // may throw: |v| is still whole then
    bigger.assign(v.begin(), v.end());
    bigger.resize(n);
    v.swap(bigger);
    Clear(bigger);
    return;
  }
  WipeTail(v, n);
  v.resize(n);
}

// Assign makes |dest| a copy of |src| like dest = src, without leaving
// dest's old bytes in its spare capacity or in a freed block. |src| may be
// |dest|.
inline void Assign(Bytes& dest, const Bytes& src) {
  if (&dest == &src) return;
  if (src.size() > dest.capacity()) {
    Bytes copy(src);  // may throw: |dest| is still whole then
    dest.swap(copy);
    Clear(copy);
    return;
  }
  WipeTail(dest, src.size());
  dest.assign(src.begin(), src.end());
}

}  // namespace HevoWipe

#endif  // HEVO_WIPE_H
