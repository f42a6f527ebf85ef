// wb_core.h: the boundary between the cipher wrappers (PKIWB_encrypt,
// PKIWB_decrypt) and the AES core behind them.
//
// There are two cores, each in its own namespace: the encryptor core
// (wb_enc) and the decryptor core (wb_dec). Each has its own working block
// and its own entry routines; they meet only in the ciphertext that one
// writes and the other reads.
//
// A wrapper owns one WbCoreState per object. It allocates the working block
// with malloc at |wb_work_size| bytes (the core decides how much it needs
// beyond the input fields below) and never initialises it. Before each call
// the wrapper writes that routine's own input fields and nothing else; the
// routine then finds everything it needs in the working block. Routines
// check nothing: the wrappers have validated sizes and pointers already.
//
// Which core sits behind this boundary is chosen at build time
// (ZEL_WB_CORE). None of these symbols is exported from the library.
#ifndef ZEL_WHITEBOX_WB_CORE_H
#define ZEL_WHITEBOX_WB_CORE_H

#include <cstddef>
#include <cstdint>

namespace zel_wb {

constexpr uint32_t kBlockSize = 16;

// WbCbcParams is the input of one CBC routine: |size| bytes (a non-zero
// multiple of 16) are read from |in| and |size| bytes written to |out|.
// |in| and |out| may be equal (in-place), but must not overlap otherwise.
struct WbCbcParams {
  const uint8_t* in;
  uint32_t size;
  uint8_t* out;
};

// The key setups' input fields. Each setup has fields of its own; the key
// bytes are whatever form the core's key setup takes (the raw AES key for
// the reference core, the protected form for the white-box core).
struct WbKeyFields128 {
  uint8_t key[16];
};
struct WbKeyFields256 {
  uint8_t key[32];
};
struct WbKeyIvFields128 {
  uint8_t key[16];
  uint8_t iv[16];
};
struct WbKeyIvFields256 {
  uint8_t key[32];
  uint8_t iv[16];
};

}  // namespace zel_wb

// The encryptor core: white (plaintext in wb_input_encoding) to black
// (standard AES-CBC ciphertext).
namespace wb_enc {

// WbCoreWork is the head of the encryptor's working block: the fields that
// the wrapper writes. The core keeps its own state after these fields, in
// the same allocation of |wb_work_size| bytes.
struct WbCoreWork {
  zel_wb::WbKeyFields128 key_setup_128;
  zel_wb::WbKeyFields256 key_setup_256;
  zel_wb::WbKeyIvFields128 key_iv_setup_128;
  zel_wb::WbKeyIvFields256 key_iv_setup_256;
  zel_wb::WbCbcParams cbc_encrypt_128;
  zel_wb::WbCbcParams cbc_encrypt_256;
};

// WbCoreState is the handle a wrapper owns. |aux| is set to 0 by the
// wrapper and belongs to the core.
struct WbCoreState {
  WbCoreWork* work;
  uint32_t aux;
};

// wb_work_size is the number of bytes the wrapper must malloc for |work|;
// at least sizeof(WbCoreWork).
extern const uint32_t wb_work_size;

// wb_input_encoding maps a plaintext byte to its white form.
extern const uint8_t wb_input_encoding[256];

// Key setups load the key (and IV) and start a new CBC chain. The key-only
// setups start from a fixed initial chaining value shared with wb_dec.
void wb_key_setup_128(WbCoreState& state);
void wb_key_setup_256(WbCoreState& state);
void wb_key_iv_setup_128(WbCoreState& state);
void wb_key_iv_setup_256(WbCoreState& state);

// CBC routines continue the chain of the previous call since the last key
// setup and leave the chaining value at the last ciphertext block written.
void wb_cbc_encrypt_128(WbCoreState& state);
void wb_cbc_encrypt_256(WbCoreState& state);

}  // namespace wb_enc

// The decryptor core: black to yellow (plaintext in the form that
// wb_output_decoding maps back), black to blue (the core's intermediate
// form, for re-encryption) and blue to black.
namespace wb_dec {

struct WbCoreWork {
  zel_wb::WbKeyFields128 key_setup_128;
  zel_wb::WbKeyFields256 key_setup_256;
  zel_wb::WbKeyIvFields128 key_iv_setup_128;
  zel_wb::WbKeyIvFields256 key_iv_setup_256;
  zel_wb::WbCbcParams cbc_decrypt_128;
  zel_wb::WbCbcParams cbc_decrypt_256;
  zel_wb::WbCbcParams cbc_decrypt_blue_128;
  zel_wb::WbCbcParams cbc_decrypt_blue_256;
  zel_wb::WbCbcParams cbc_encrypt_blue_128;
  zel_wb::WbCbcParams cbc_encrypt_blue_256;
};

struct WbCoreState {
  WbCoreWork* work;
  uint32_t aux;
};

extern const uint32_t wb_work_size;

// wb_output_decoding maps a yellow byte back to the plain byte.
extern const uint8_t wb_output_decoding[256];

void wb_key_setup_128(WbCoreState& state);
void wb_key_setup_256(WbCoreState& state);
void wb_key_iv_setup_128(WbCoreState& state);
void wb_key_iv_setup_256(WbCoreState& state);

void wb_cbc_decrypt_128(WbCoreState& state);
void wb_cbc_decrypt_256(WbCoreState& state);
void wb_cbc_decrypt_blue_128(WbCoreState& state);
void wb_cbc_decrypt_blue_256(WbCoreState& state);
void wb_cbc_encrypt_blue_128(WbCoreState& state);
void wb_cbc_encrypt_blue_256(WbCoreState& state);

}  // namespace wb_dec

#endif  // ZEL_WHITEBOX_WB_CORE_H
