// PKIWB_encrypt's refusals: which message each bad call gives, in which
// order the checks run, and that a refused call leaves the output alone.
#include <gtest/gtest.h>

#include <string>

#include "PKIWB_encrypt.h"
#include "call_buffers.h"
#include "test_keys.h"
#include "thrown_message.h"

namespace {

const char kInSize[] = "ASSERTION FAILED: in_size != 0";
const char kMultiple[] = "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0";
const char kWhiteIn[] = "ASSERTION FAILED: white_in";
const char kBlackOut[] = "ASSERTION FAILED: black_out";
const char kPayloadSize[] = "ASSERTION FAILED: payload_size > 0";
const char kKeysize[] = "ASSERTION FAILED: 0 && \"Invalid keysize\"";

struct EncryptCall {
  const char* call;
  void (*run)(PKIWB_encrypt&, CallBuffers&);
  const char* expected;
};

// With a usable key size: the size checks come before the pointer checks,
// and wb_cbc_encrypt_pkcs7 runs the whole-block step before anything else.
const EncryptCall kUsableKeysizeCalls[] = {
    {"wb_cbc_encrypt(null, null, 0)",
     [](PKIWB_encrypt& e, CallBuffers&) { e.wb_cbc_encrypt(nullptr, nullptr, 0); },
     kInSize},
    {"wb_cbc_encrypt(null, null, 15)",
     [](PKIWB_encrypt& e, CallBuffers&) { e.wb_cbc_encrypt(nullptr, nullptr, 15); },
     kMultiple},
    {"wb_cbc_encrypt(in, out, 17)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt(b.in, b.out, 17); },
     kMultiple},
    {"wb_cbc_encrypt(null, null, 16)",
     [](PKIWB_encrypt& e, CallBuffers&) { e.wb_cbc_encrypt(nullptr, nullptr, 16); },
     kWhiteIn},
    {"wb_cbc_encrypt(in, null, 16)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt(b.in, nullptr, 16); },
     kBlackOut},
    {"wb_cbc_encrypt_pkcs7(in, out, 0)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt_pkcs7(b.in, b.out, 0); },
     kInSize},
    {"wb_cbc_encrypt_pkcs7(in, out, 15)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt_pkcs7(b.in, b.out, 15); },
     kInSize},
    {"wb_cbc_encrypt_pkcs7(null, out, 20)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt_pkcs7(nullptr, b.out, 20); },
     kWhiteIn},
    {"wb_cbc_encrypt_pkcs7(in, null, 31)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt_pkcs7(b.in, nullptr, 31); },
     kBlackOut},
    {"encrypt_payload(key, in, 0, out)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.encrypt_payload(b.key, b.in, 0, b.out); },
     kPayloadSize},
    {"encrypt_payload(key, iv, null, 0, out)",
     [](PKIWB_encrypt& e, CallBuffers& b) {
       e.encrypt_payload(b.key, b.iv, nullptr, 0, b.out);
     },
     kPayloadSize},
};

// With an unusable key size the object is built, and the key size is
// reported only where a call reaches the key: after the size and pointer
// checks of a CBC step, and at the key setup of encrypt_payload, which
// follows its own size check but precedes the CBC step's.
const EncryptCall kUnusableKeysizeCalls[] = {
    {"aes_init(key)", [](PKIWB_encrypt& e, CallBuffers& b) { e.aes_init(b.key); },
     kKeysize},
    {"aes_init(key, iv)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.aes_init(b.key, b.iv); }, kKeysize},
    {"wb_cbc_encrypt(null, null, 0)",
     [](PKIWB_encrypt& e, CallBuffers&) { e.wb_cbc_encrypt(nullptr, nullptr, 0); },
     kInSize},
    {"wb_cbc_encrypt(in, out, 20)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt(b.in, b.out, 20); },
     kMultiple},
    {"wb_cbc_encrypt(null, out, 16)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt(nullptr, b.out, 16); },
     kWhiteIn},
    {"wb_cbc_encrypt(in, null, 16)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt(b.in, nullptr, 16); },
     kBlackOut},
    {"wb_cbc_encrypt(in, out, 16)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt(b.in, b.out, 16); },
     kKeysize},
    {"wb_cbc_encrypt_pkcs7(in, out, 20)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.wb_cbc_encrypt_pkcs7(b.in, b.out, 20); },
     kKeysize},
    {"encrypt_payload(key, in, 32, out)",
     [](PKIWB_encrypt& e, CallBuffers& b) { e.encrypt_payload(b.key, b.in, 32, b.out); },
     kKeysize},
    {"encrypt_payload(key, iv, in, 5, out)",
     [](PKIWB_encrypt& e, CallBuffers& b) {
       e.encrypt_payload(b.key, b.iv, b.in, 5, b.out);
     },
     kKeysize},
    {"encrypt_payload(key, iv, in, 0, out)",
     [](PKIWB_encrypt& e, CallBuffers& b) {
       e.encrypt_payload(b.key, b.iv, b.in, 0, b.out);
     },
     kPayloadSize},
};

void ExpectRefusal(const EncryptCall& row, PKIWB_encrypt& encryptor,
                   CallBuffers& buffers) {
  SCOPED_TRACE(row.call);
  EXPECT_EQ(ThrownMessage([&] { row.run(encryptor, buffers); }), row.expected);
  EXPECT_TRUE(buffers.OutUntouched());
}

TEST(EncryptorRefusals, UsableKeysizes) {
  for (unsigned keysize : {16u, 32u}) {
    SCOPED_TRACE("keysize " + std::to_string(keysize));
    // Keyed first, so that a missing check runs the core on a defined state
    // and fails on the message instead of on uninitialised memory.
    CallBuffers buffers;
    const std::vector<uint8_t> key =
        CoreKeyForm(std::vector<uint8_t>(buffers.key, buffers.key + keysize));
    PKIWB_encrypt encryptor(keysize);
    encryptor.aes_init(key.data(), buffers.iv);
    for (const EncryptCall& row : kUsableKeysizeCalls)
      ExpectRefusal(row, encryptor, buffers);
  }
}

TEST(EncryptorRefusals, UnusableKeysizes) {
  for (unsigned keysize : {0u, 24u, 64u}) {
    SCOPED_TRACE("keysize " + std::to_string(keysize));
    CallBuffers buffers;
    PKIWB_encrypt encryptor(keysize);
    for (const EncryptCall& row : kUnusableKeysizeCalls)
      ExpectRefusal(row, encryptor, buffers);
  }
}

// A payload shorter than one block cannot be encrypted: the whole-block
// step runs first and refuses its empty run of blocks.
TEST(EncryptorRefusals, PayloadsShorterThanOneBlock) {
  for (unsigned keysize : {16u, 32u}) {
    CallBuffers buffers;
    const std::vector<uint8_t> key =
        CoreKeyForm(std::vector<uint8_t>(buffers.key, buffers.key + keysize));
    PKIWB_encrypt encryptor(keysize);
    for (unsigned size = 1; size < 16; ++size) {
      SCOPED_TRACE("keysize " + std::to_string(keysize) + ", payload " +
                   std::to_string(size));
      EXPECT_EQ(ThrownMessage([&] {
                  encryptor.encrypt_payload(key.data(), buffers.iv, buffers.in,
                                            size, buffers.out);
                }),
                kInSize);
      EXPECT_EQ(ThrownMessage([&] {
                  encryptor.encrypt_payload(key.data(), buffers.in, size,
                                            buffers.out);
                }),
                kInSize);
      EXPECT_TRUE(buffers.OutUntouched());
    }
  }
}

TEST(EncryptorPaddedSize, RoundsDownToABlockThenAddsOne) {
  const struct {
    unsigned payload;
    unsigned padded;
  } kSizes[] = {
      {0, 16},           {1, 16},           {15, 16},
      {16, 32},          {17, 32},          {31, 32},
      {32, 48},          {4096, 4112},      {0xffffffefu, 0xfffffff0u},
      {0xfffffff0u, 0},  {0xffffffffu, 0},  // 32-bit wrap-around
  };
  for (const auto& size : kSizes)
    EXPECT_EQ(PKIWB_encrypt::get_padded_payload_size(size.payload), size.padded)
        << "payload " << size.payload;
}

}  // namespace
