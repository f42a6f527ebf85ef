// PKIWB_decrypt's refusals and its pad-byte check: which message each bad
// call gives, in which order the checks run, and what reaches the output.
#include <gtest/gtest.h>

#include <string>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "call_buffers.h"
#include "core_encoding.h"
#include "test_keys.h"
#include "thrown_message.h"

namespace {

const char kInSize[] = "ASSERTION FAILED: in_size != 0";
const char kMultiple[] = "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0";
const char kBlackIn[] = "ASSERTION FAILED: black_in";
const char kYellowOut[] = "ASSERTION FAILED: yellow_out";
const char kBlueIn[] = "ASSERTION FAILED: blue_in";
const char kBlueOut[] = "ASSERTION FAILED: blue_out";
const char kBlackOut[] = "ASSERTION FAILED: black_out";
const char kPadZero[] = "ASSERTION FAILED: (size_t)c > 0";
const char kPadLarge[] = "ASSERTION FAILED: (size_t)c <= AES_BLOCK_SIZE";
const char kKeysize[] = "ASSERTION FAILED: 0 && \"Invalid keysize\"";

using Bytes = std::vector<uint8_t>;

// The four CBC steps share one order of checks and differ in the names
// their pointer messages carry.
struct Step {
  const char* name;
  void (*run)(PKIWB_decrypt&, const unsigned char*, unsigned char*, unsigned);
  const char* null_input;
  const char* null_output;
};

const Step kSteps[] = {
    {"wb_cbc_decrypt",
     [](PKIWB_decrypt& d, const unsigned char* in, unsigned char* out,
        unsigned size) { d.wb_cbc_decrypt(in, out, size); },
     kBlackIn, kYellowOut},
    {"wb_cbc_decrypt_pkcs7",
     [](PKIWB_decrypt& d, const unsigned char* in, unsigned char* out,
        unsigned size) { d.wb_cbc_decrypt_pkcs7(in, out, size); },
     kBlackIn, kYellowOut},
    {"wb_cbc_decrypt_for_recrypt",
     [](PKIWB_decrypt& d, const unsigned char* in, unsigned char* out,
        unsigned size) { d.wb_cbc_decrypt_for_recrypt(in, out, size); },
     kBlackIn, kBlueOut},
    {"wb_cbc_encrypt",
     [](PKIWB_decrypt& d, const unsigned char* in, unsigned char* out,
        unsigned size) { d.wb_cbc_encrypt(in, out, size); },
     kBlueIn, kBlackOut},
};

struct StepArguments {
  const char* call;
  bool null_input;
  bool null_output;
  unsigned size;
};

// ExpectedStepMessage gives the first check that fails for |args|; the key
// size is the last thing a step looks at.
std::string ExpectedStepMessage(const Step& step, const StepArguments& args,
                                bool usable_keysize) {
  if (args.size == 0) return kInSize;
  if (args.size % 16 != 0) return kMultiple;
  if (args.null_input) return step.null_input;
  if (args.null_output) return step.null_output;
  return usable_keysize ? kNoThrow : kKeysize;
}

const StepArguments kStepArguments[] = {
    {"(null, null, 0)", true, true, 0},
    {"(null, null, 20)", true, true, 20},
    {"(in, out, 8)", false, false, 8},
    {"(null, null, 16)", true, true, 16},
    {"(in, null, 32)", false, true, 32},
};

void ExpectStepRefusals(unsigned keysize, bool usable_keysize) {
  CallBuffers buffers;
  PKIWB_decrypt decryptor(keysize);
  if (usable_keysize) {
    const std::vector<uint8_t> key =
        CoreKeyForm(std::vector<uint8_t>(buffers.key, buffers.key + keysize));
    decryptor.aes_init(key.data(), buffers.iv);
  }
  for (const Step& step : kSteps) {
    for (const StepArguments& args : kStepArguments) {
      SCOPED_TRACE(std::string(step.name) + args.call);
      EXPECT_EQ(ThrownMessage([&] {
                  step.run(decryptor, args.null_input ? nullptr : buffers.in,
                           args.null_output ? nullptr : buffers.out, args.size);
                }),
                ExpectedStepMessage(step, args, usable_keysize));
      EXPECT_TRUE(buffers.OutUntouched());
    }
  }
  if (!usable_keysize) {
    SCOPED_TRACE("(in, out, 16)");
    for (const Step& step : kSteps)
      EXPECT_EQ(ThrownMessage([&] {
                  step.run(decryptor, buffers.in, buffers.out, 16);
                }),
                kKeysize)
          << step.name;
  }
}

TEST(DecryptorRefusals, CbcStepsWithAUsableKeysize) {
  for (unsigned keysize : {16u, 32u}) {
    SCOPED_TRACE("keysize " + std::to_string(keysize));
    ExpectStepRefusals(keysize, true);
  }
}

TEST(DecryptorRefusals, CbcStepsWithAnUnusableKeysize) {
  for (unsigned keysize : {0u, 24u, 64u}) {
    SCOPED_TRACE("keysize " + std::to_string(keysize));
    ExpectStepRefusals(keysize, false);
  }
}

struct PayloadCall {
  const char* call;
  void (*run)(PKIWB_decrypt&, CallBuffers&);
  const char* usable_keysize_message;
  const char* unusable_keysize_message;
};

// decrypt_payload and recrypt_payload set up the key before any size
// check, so an unusable key size wins over a bad size.
const PayloadCall kPayloadCalls[] = {
    {"decrypt_payload(key, in, 0, out)",
     [](PKIWB_decrypt& d, CallBuffers& b) { d.decrypt_payload(b.key, b.in, 0, b.out); },
     kInSize, kKeysize},
    {"decrypt_payload(key, iv, null, 0, out)",
     [](PKIWB_decrypt& d, CallBuffers& b) {
       d.decrypt_payload(b.key, b.iv, nullptr, 0, b.out);
     },
     kInSize, kKeysize},
    {"decrypt_payload(key, iv, in, 20, out)",
     [](PKIWB_decrypt& d, CallBuffers& b) {
       d.decrypt_payload(b.key, b.iv, b.in, 20, b.out);
     },
     kMultiple, kKeysize},
    {"decrypt_payload(key, in, 20, out)",
     [](PKIWB_decrypt& d, CallBuffers& b) { d.decrypt_payload(b.key, b.in, 20, b.out); },
     kMultiple, kKeysize},
    {"decrypt_payload(key, iv, null, 32, out)",
     [](PKIWB_decrypt& d, CallBuffers& b) {
       d.decrypt_payload(b.key, b.iv, nullptr, 32, b.out);
     },
     kBlackIn, kKeysize},
    {"recrypt_payload(key, iv, in, 0, out)",
     [](PKIWB_decrypt& d, CallBuffers& b) {
       d.recrypt_payload(b.key, b.iv, b.in, 0, b.out);
     },
     kInSize, kKeysize},
    {"recrypt_payload(key, iv, in, 20, out)",
     [](PKIWB_decrypt& d, CallBuffers& b) {
       d.recrypt_payload(b.key, b.iv, b.in, 20, b.out);
     },
     kMultiple, kKeysize},
    {"recrypt_payload(key, iv, null, 32, out)",
     [](PKIWB_decrypt& d, CallBuffers& b) {
       d.recrypt_payload(b.key, b.iv, nullptr, 32, b.out);
     },
     kBlackIn, kKeysize},
    {"recrypt_payload(key, iv, in, 32, null)",
     [](PKIWB_decrypt& d, CallBuffers& b) {
       d.recrypt_payload(b.key, b.iv, b.in, 32, nullptr);
     },
     kBlackOut, kKeysize},
    {"aes_init(key)", [](PKIWB_decrypt& d, CallBuffers& b) { d.aes_init(b.key); },
     kNoThrow, kKeysize},
    {"aes_init(key, iv)",
     [](PKIWB_decrypt& d, CallBuffers& b) { d.aes_init(b.key, b.iv); }, kNoThrow,
     kKeysize},
};

TEST(DecryptorRefusals, PayloadCallsAndKeySetups) {
  for (unsigned keysize : {16u, 32u, 0u, 24u}) {
    const bool usable = keysize == 16 || keysize == 32;
    SCOPED_TRACE("keysize " + std::to_string(keysize));
    CallBuffers buffers;
    if (usable) {
      const std::vector<uint8_t> key =
          CoreKeyForm(std::vector<uint8_t>(buffers.key, buffers.key + keysize));
      std::copy(key.begin(), key.end(), buffers.key);
    }
    PKIWB_decrypt decryptor(keysize);
    for (const PayloadCall& row : kPayloadCalls) {
      SCOPED_TRACE(row.call);
      EXPECT_EQ(ThrownMessage([&] { row.run(decryptor, buffers); }),
                usable ? row.usable_keysize_message
                       : row.unusable_keysize_message);
      EXPECT_TRUE(buffers.OutUntouched());
    }
  }
}

// A ciphertext whose last plaintext block is |last_block| (in plain bytes),
// after |blocks_before| blocks of data.
struct PadCase {
  const char* description;
  unsigned blocks_before;
  uint8_t pad_fill;  // the 15 bytes before the last one
  uint8_t last_byte;
  const char* thrown;       // kNoThrow when accepted
  unsigned returned_size;   // when accepted
};

// Only the last byte decides; the bytes before it are never compared.
const PadCase kPadCases[] = {
    {"last byte 0", 1, 0x00, 0x00, kPadZero, 0},
    {"last byte 17", 1, 0x11, 0x11, kPadLarge, 0},
    {"last byte 255", 1, 0xff, 0xff, kPadLarge, 0},
    {"last byte 1", 1, 0x00, 0x01, kNoThrow, 31},
    {"last byte 5 after non-pad bytes", 1, 0x77, 0x05, kNoThrow, 27},
    {"last byte 16 after non-pad bytes", 1, 0x42, 0x10, kNoThrow, 16},
    {"a single block of pad 16", 0, 0x10, 0x10, kNoThrow, 0},
    {"a single block ending in 0", 0, 0x10, 0x00, kPadZero, 0},
};

// MakeCiphertext encrypts |plain| (whole blocks, no padding added) through
// the encryptor's CBC step, with |iv| or, when null, the key-only setup.
Bytes MakeCiphertext(unsigned keysize, const std::vector<uint8_t>& key,
                     const uint8_t* iv, const Bytes& plain) {
  PKIWB_encrypt encryptor(keysize);
  if (iv != nullptr) {
    encryptor.aes_init(key.data(), iv);
  } else {
    encryptor.aes_init(key.data());
  }
  const Bytes white = ToWhite(plain);
  Bytes black(white.size());
  encryptor.wb_cbc_encrypt(white.data(), black.data(),
                           static_cast<unsigned>(white.size()));
  return black;
}

TEST(DecryptorPadCheck, OnlyTheLastByteDecides) {
  for (unsigned keysize : {16u, 32u}) {
    for (bool with_iv : {true, false}) {
      for (const PadCase& pad : kPadCases) {
        CallBuffers buffers;
        const std::vector<uint8_t> key = CoreKeyForm(
            std::vector<uint8_t>(buffers.key, buffers.key + keysize));
        SCOPED_TRACE("keysize " + std::to_string(keysize) +
                     (with_iv ? ", key and IV, " : ", key only, ") +
                     pad.description);
        Bytes plain(buffers.in, buffers.in + 16 * pad.blocks_before);
        plain.insert(plain.end(), 15, pad.pad_fill);
        plain.push_back(pad.last_byte);
        const Bytes black = MakeCiphertext(keysize, key,
                                           with_iv ? buffers.iv : nullptr, plain);
        PKIWB_decrypt decryptor(keysize);
        unsigned returned = 0;
        EXPECT_EQ(ThrownMessage([&] {
                    const auto size = static_cast<unsigned>(black.size());
                    returned =
                        with_iv ? decryptor.decrypt_payload(
                                      key.data(), buffers.iv, black.data(),
                                      size, buffers.out)
                                : decryptor.decrypt_payload(
                                      key.data(), black.data(), size,
                                      buffers.out);
                  }),
                  pad.thrown);
        if (pad.thrown != std::string(kNoThrow)) {
          EXPECT_TRUE(buffers.OutUntouched());
          continue;
        }
        EXPECT_EQ(returned, pad.returned_size);
        // The plaintext, and not one byte of the pad, reaches the output.
        EXPECT_EQ(Bytes(buffers.out, buffers.out + returned),
                  Bytes(plain.begin(), plain.begin() + returned));
        EXPECT_EQ(buffers.out[returned], CallBuffers::kUntouched);
      }
    }
  }
}

}  // namespace
