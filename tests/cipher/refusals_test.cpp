// The cipher wrappers' refusals: which message each bad call throws, in
// which order the checks run (sizes, then pointers, then the key size; the
// payload calls of the decryptor set up the key first), and that a refused
// call writes nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "test_keys.h"

namespace {

using ::testing::StrEq;
using ::testing::Throws;

const char kInSize[] = "ASSERTION FAILED: in_size != 0";
const char kMultiple[] = "ASSERTION FAILED: (in_size % AES_BLOCK_SIZE) == 0";
const char kPayload[] = "ASSERTION FAILED: payload_size > 0";
const char kKeysize[] = "ASSERTION FAILED: 0 && \"Invalid keysize\"";
const char kNone[] = "";  // with a usable key size the call goes through

struct Buffers {
  std::vector<uint8_t> key, iv = std::vector<uint8_t>(16, 7), in = std::vector<uint8_t>(64, 3),
                            out = std::vector<uint8_t>(96, 0xa5);
};

struct Row {
  const char* call;
  std::function<void(PKIWB_encrypt&, PKIWB_decrypt&, Buffers&)> run;
  const char* usable;    // message with a 16- or 32-byte key size
  const char* unusable;  // message with a 24-byte key size
};

#define ENC(expr) [](PKIWB_encrypt& e, PKIWB_decrypt&, Buffers& b) { (void)b; expr; }
#define DEC(expr) [](PKIWB_encrypt&, PKIWB_decrypt& d, Buffers& b) { (void)b; expr; }
const uint8_t* const kNull = nullptr;
uint8_t* const kNullOut = nullptr;

const Row kRows[] = {
    {"enc cbc(null, null, 0)", ENC(e.wb_cbc_encrypt(kNull, kNullOut, 0)), kInSize, kInSize},
    {"enc cbc(in, out, 24)", ENC(e.wb_cbc_encrypt(b.in.data(), b.out.data(), 24)), kMultiple, kMultiple},
    {"enc cbc(null, null, 16)", ENC(e.wb_cbc_encrypt(kNull, kNullOut, 16)), "ASSERTION FAILED: white_in", "ASSERTION FAILED: white_in"},
    {"enc cbc(in, null, 16)", ENC(e.wb_cbc_encrypt(b.in.data(), kNullOut, 16)), "ASSERTION FAILED: black_out", "ASSERTION FAILED: black_out"},
    {"enc cbc(in, out, 16)", ENC(e.wb_cbc_encrypt(b.in.data(), b.out.data(), 16)), kNone, kKeysize},
    {"enc pkcs7(in, out, 15)", ENC(e.wb_cbc_encrypt_pkcs7(b.in.data(), b.out.data(), 15)), kInSize, kInSize},
    {"enc payload(key, iv, in, 0)", ENC(e.encrypt_payload(b.key.data(), b.iv.data(), b.in.data(), 0, b.out.data())), kPayload, kPayload},
    {"enc payload(key, iv, in, 5)", ENC(e.encrypt_payload(b.key.data(), b.iv.data(), b.in.data(), 5, b.out.data())), kInSize, kKeysize},
    {"enc payload(key, in, 15)", ENC(e.encrypt_payload(b.key.data(), b.in.data(), 15, b.out.data())), kInSize, kKeysize},
    {"enc aes_init(key)", ENC(e.aes_init(b.key.data())), kNone, kKeysize},
    {"dec cbc(null, null, 0)", DEC(d.wb_cbc_decrypt(kNull, kNullOut, 0)), kInSize, kInSize},
    {"dec pkcs7(in, out, 8)", DEC(d.wb_cbc_decrypt_pkcs7(b.in.data(), b.out.data(), 8)), kMultiple, kMultiple},
    {"dec cbc(null, null, 16)", DEC(d.wb_cbc_decrypt(kNull, kNullOut, 16)), "ASSERTION FAILED: black_in", "ASSERTION FAILED: black_in"},
    {"dec pkcs7(in, null, 32)", DEC(d.wb_cbc_decrypt_pkcs7(b.in.data(), kNullOut, 32)), "ASSERTION FAILED: yellow_out", "ASSERTION FAILED: yellow_out"},
    {"dec for_recrypt(in, null, 16)", DEC(d.wb_cbc_decrypt_for_recrypt(b.in.data(), kNullOut, 16)), "ASSERTION FAILED: blue_out", "ASSERTION FAILED: blue_out"},
    {"dec encrypt(null, null, 16)", DEC(d.wb_cbc_encrypt(kNull, kNullOut, 16)), "ASSERTION FAILED: blue_in", "ASSERTION FAILED: blue_in"},
    {"dec encrypt(in, null, 16)", DEC(d.wb_cbc_encrypt(b.in.data(), kNullOut, 16)), "ASSERTION FAILED: black_out", "ASSERTION FAILED: black_out"},
    {"dec cbc(in, out, 16)", DEC(d.wb_cbc_decrypt(b.in.data(), b.out.data(), 16)), kNone, kKeysize},
    {"dec payload(key, in, 0)", DEC(d.decrypt_payload(b.key.data(), b.in.data(), 0, b.out.data())), kInSize, kKeysize},
    {"dec payload(key, iv, in, 20)", DEC(d.decrypt_payload(b.key.data(), b.iv.data(), b.in.data(), 20, b.out.data())), kMultiple, kKeysize},
    {"recrypt(key, iv, null, 32)", DEC(d.recrypt_payload(b.key.data(), b.iv.data(), kNull, 32, b.out.data())), "ASSERTION FAILED: black_in", kKeysize},
    {"recrypt(key, iv, in, 32, null)", DEC(d.recrypt_payload(b.key.data(), b.iv.data(), b.in.data(), 32, kNullOut)), "ASSERTION FAILED: black_out", kKeysize},
};

TEST(CipherRefusals, EachBadCallThrowsItsMessageAndWritesNothing) {
  for (unsigned keysize : {16u, 32u, 24u}) {
    const bool usable = keysize != 24;
    for (const Row& row : kRows) {
      const char* expected = usable ? row.usable : row.unusable;
      if (*expected == '\0') continue;
      SCOPED_TRACE(std::string(row.call) + ", key size " + std::to_string(keysize));
      Buffers buffers;
      buffers.key = CoreKeyForm(std::vector<uint8_t>(keysize, 0x2b));
      PKIWB_encrypt encryptor(keysize);
      PKIWB_decrypt decryptor(keysize);
      if (usable) {  // keyed, so that a missing check fails on the message
        encryptor.aes_init(buffers.key.data(), buffers.iv.data());
        decryptor.aes_init(buffers.key.data(), buffers.iv.data());
      }
      EXPECT_THAT([&] { row.run(encryptor, decryptor, buffers); },
                  Throws<const char*>(StrEq(expected)));
      EXPECT_EQ(buffers.out, std::vector<uint8_t>(96, 0xa5));
    }
  }
}

TEST(CipherRefusals, PaddedSizeRoundsDownToABlockThenAddsOne) {
  const unsigned sizes[][2] = {{0, 16}, {15, 16}, {16, 32}, {17, 32}, {4096, 4112},
                               {0xffffffefu, 0xfffffff0u}, {0xfffffff0u, 0}};
  for (const auto& size : sizes)
    EXPECT_EQ(PKIWB_encrypt::get_padded_payload_size(size[0]), size[1]) << size[0];
}

}  // namespace
