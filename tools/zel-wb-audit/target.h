// target.h: what an attack sees of the implementation under audit.
//
// A Target computes one AES block at a time in the plain domain: the
// encryption direction maps an AES input block to its ciphertext, the
// decryption direction a ciphertext to the AES output block (before the
// CBC XOR). Attacks choose or observe those blocks, record look-up traces
// through TraceRecorder, and fault the bytes of tables() (persistent, until
// restored) or work() (the working block; a key setup rebuilds it).
// Nothing here depends on the core's table layout.
#ifndef ZEL_WB_AUDIT_TARGET_H
#define ZEL_WB_AUDIT_TARGET_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zel_audit {

struct Region {
  uint8_t* base = nullptr;
  size_t size = 0;
};

class Target {
 public:
  virtual ~Target() = default;
  virtual std::string name() const = 0;
  virtual unsigned key_len() const = 0;  // 16 or 32
  unsigned rounds() const { return key_len() / 4 + 6; }
  virtual bool decrypts() const = 0;
  // run computes one block (in and out are 16 bytes, may not overlap).
  virtual void run(const uint8_t* in, uint8_t* out) = 0;
  // reset runs the key setup again (after a fault in tables or work).
  virtual void reset() = 0;
  virtual Region tables() = 0;
  virtual Region work() = 0;
};

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_TARGET_H
