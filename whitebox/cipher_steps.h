// cipher_steps.h: what PKIWB_encrypt and PKIWB_decrypt do alike around
// their core: load a key (and IV) into the core's key fields and run its
// setup, and run one CBC step after the argument checks. Each wrapper
// describes its core's entries once (CoreKeySetups, CbcStep) and calls
// these.
//
// Failures are thrown as pointers to constant strings, in this order:
// in_size 0, in_size not a multiple of 16, null input, null output, then
// an unusable key size. Buffers: the key and IV are copied into the working
// block; CBC input and output may be equal (in-place) but must not
// otherwise overlap.
#ifndef ZEL_WHITEBOX_CIPHER_STEPS_H
#define ZEL_WHITEBOX_CIPHER_STEPS_H

#include <cstring>

#include "wb_core.h"

namespace zel_wb {

inline constexpr char kInvalidKeysize[] =
    "ASSERTION FAILED: 0 && \"Invalid keysize\"";

// CoreKeySetups: a core's four key setups.
template <typename State>
struct CoreKeySetups {
  void (*key_128)(State&);
  void (*key_256)(State&);
  void (*key_iv_128)(State&);
  void (*key_iv_256)(State&);
};

// LoadKey writes |keysize| key bytes (and, when |with_iv|, 16 IV bytes)
// into the fields of the setup for that key size and runs it.
template <typename State>
void LoadKey(State& state, unsigned keysize, const unsigned char* key,
             bool with_iv, const unsigned char* iv,
             const CoreKeySetups<State>& setups) {
  auto& work = *state.work;
  if (keysize == 16 && !with_iv) {
    std::memcpy(work.key_setup_128.key, key, 16);
    setups.key_128(state);
  } else if (keysize == 32 && !with_iv) {
    std::memcpy(work.key_setup_256.key, key, 32);
    setups.key_256(state);
  } else if (keysize == 16) {
    std::memcpy(work.key_iv_setup_128.key, key, 16);
    std::memcpy(work.key_iv_setup_128.iv, iv, 16);
    setups.key_iv_128(state);
  } else if (keysize == 32) {
    std::memcpy(work.key_iv_setup_256.key, key, 32);
    std::memcpy(work.key_iv_setup_256.iv, iv, 16);
    setups.key_iv_256(state);
  } else {
    throw kInvalidKeysize;
  }
}

// CbcStep: the messages of one CBC step's pointer checks and its two core
// entries with their parameter fields.
template <typename State, typename Work>
struct CbcStep {
  const char* null_input;
  const char* null_output;
  WbCbcParams Work::*params_128;
  WbCbcParams Work::*params_256;
  void (*entry_128)(State&);
  void (*entry_256)(State&);
};

// CheckCbcArguments makes the size and pointer checks of a CBC step.
template <typename Step>
void CheckCbcArguments(const Step& step, const unsigned char* in,
                       const unsigned char* out, unsigned int in_size) {
  if (in_size == 0) throw "ASSERTION FAILED: in_size != 0";
  if (in_size % kBlockSize != 0)
    throw "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0";
  if (in == nullptr) throw step.null_input;
  if (out == nullptr) throw step.null_output;
}

template <typename State, typename Work>
void RunCbcStep(const CbcStep<State, Work>& step, State& state,
                unsigned int keysize, const unsigned char* in,
                unsigned char* out, unsigned int in_size) {
  CheckCbcArguments(step, in, out, in_size);
  const WbCbcParams params = {in, in_size, out};
  if (keysize == 16) {
    (*state.work).*step.params_128 = params;
    step.entry_128(state);
  } else if (keysize == 32) {
    (*state.work).*step.params_256 = params;
    step.entry_256(state);
  } else {
    throw kInvalidKeysize;
  }
}

}  // namespace zel_wb

#endif  // ZEL_WHITEBOX_CIPHER_STEPS_H
