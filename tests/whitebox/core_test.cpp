// core_test.cpp: both white-box cores against the reference AES through
// wb_core.h (key-only and key-and-IV setups, a chain continued over two
// calls, key changes and the same key set up again, decryption to yellow
// and to blue, re-encryption of blue), and the majority vote: one corrupted
// byte anywhere in one copy's keyed tables leaves every output correct.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "aes_reference.h"
#include "keyed_tables.h"
#include "test_keys.h"
#include "wb_core.h"

namespace {

using Bytes = std::vector<uint8_t>;
std::mt19937 rng(7);

Bytes random_bytes(size_t n) {
  Bytes out(n);
  for (uint8_t& b : out) b = static_cast<uint8_t>(rng());
  return out;
}

Bytes reference_cbc(const Bytes& key, const Bytes& iv, const Bytes& in,
                    bool encrypt) {
  zel_ref::AesKeySchedule s;
  zel_ref::aes_expand_key(key.data(), static_cast<unsigned>(key.size()), s);
  Bytes out(in.size()), chain(iv);
  for (size_t o = 0; o < in.size(); o += 16) {
    uint8_t block[16];
    for (int i = 0; i < 16 && encrypt; ++i) block[i] = in[o + i] ^ chain[i];
    if (encrypt) zel_ref::aes_encrypt_block(s, block, &out[o]);
    if (!encrypt) zel_ref::aes_decrypt_block(s, &in[o], block);
    for (int i = 0; i < 16 && !encrypt; ++i) out[o + i] = block[i] ^ chain[i];
    std::memcpy(chain.data(), encrypt ? &out[o] : &in[o], 16);
  }
  zel_ref::aes_wipe(s);
  return out;
}

// Core drives one state of either core; the working block mirrors the
// cores' layout: the wrapper's fields, then the copies' keyed tables.
template <typename State, typename Work>
struct Core {
  struct Layout : Work { zel_whitebox::KeyedCopies keyed; };
  using Entry = void (*)(State&);
  State state;
  const Entry* setups;  // key-only 128, 256; key-and-IV 128, 256
  Core(uint32_t size, const Entry* s)
      : state{static_cast<Work*>(std::calloc(1, size)), 0}, setups(s) {}
  ~Core() { std::free(state.work); }
  void key_setup(const Bytes& raw, const Bytes* iv) {
    const Bytes key = CoreKeyForm(raw);
    Work& w = *state.work;
    const bool big = key.size() == 32;
    uint8_t* field = iv ? (big ? w.key_iv_setup_256.key : w.key_iv_setup_128.key)
                        : (big ? w.key_setup_256.key : w.key_setup_128.key);
    std::memcpy(field, key.data(), key.size());
    if (iv) std::memcpy(field + key.size(), iv->data(), 16);
    setups[(iv ? 2 : 0) + big](state);
  }
  Bytes run(zel_wb::WbCbcParams Work::*params, Entry entry, const Bytes& in) {
    Bytes out(in.size());
    (*state.work).*params = {in.data(), static_cast<uint32_t>(in.size()),
                             out.data()};
    entry(state);
    return out;
  }
  uint8_t* copy_region(unsigned c) {
    return reinterpret_cast<uint8_t*>(
        &static_cast<Layout*>(state.work)->keyed.copy[c]);
  }
};

const Core<wb_enc::WbCoreState, wb_enc::WbCoreWork>::Entry kEncSetups[] = {
    wb_enc::wb_key_setup_128, wb_enc::wb_key_setup_256,
    wb_enc::wb_key_iv_setup_128, wb_enc::wb_key_iv_setup_256};
const Core<wb_dec::WbCoreState, wb_dec::WbCoreWork>::Entry kDecSetups[] = {
    wb_dec::wb_key_setup_128, wb_dec::wb_key_setup_256,
    wb_dec::wb_key_iv_setup_128, wb_dec::wb_key_iv_setup_256};

struct Cores {
  Core<wb_enc::WbCoreState, wb_enc::WbCoreWork> enc{wb_enc::wb_work_size,
                                                    kEncSetups};
  Core<wb_dec::WbCoreState, wb_dec::WbCoreWork> dec{wb_dec::wb_work_size,
                                                    kDecSetups};
  // check encrypts |plain| under |key| (no IV: the zero initial value),
  // decrypts it to yellow and to blue and re-encrypts blue under |iv2|.
  void check(const Bytes& key, const Bytes* iv, const Bytes& plain,
             const Bytes& iv2) {
    const bool big = key.size() == 32;
    const Bytes zero(16, 0), white = encode(plain, wb_enc::wb_input_encoding);
    const Bytes expected = reference_cbc(key, iv ? *iv : zero, plain, true);
    enc.key_setup(key, iv);
    auto e = big ? &wb_enc::WbCoreWork::cbc_encrypt_256 : &wb_enc::WbCoreWork::cbc_encrypt_128;
    auto ee = big ? wb_enc::wb_cbc_encrypt_256 : wb_enc::wb_cbc_encrypt_128;
    Bytes black = enc.run(e, ee, Bytes(white.begin(), white.begin() + 32));
    const Bytes rest = enc.run(e, ee, Bytes(white.begin() + 32, white.end()));
    black.insert(black.end(), rest.begin(), rest.end());
    ASSERT_EQ(black, expected);
    dec.key_setup(key, iv);
    const Bytes yellow = dec.run(
        big ? &wb_dec::WbCoreWork::cbc_decrypt_256 : &wb_dec::WbCoreWork::cbc_decrypt_128,
        big ? wb_dec::wb_cbc_decrypt_256 : wb_dec::wb_cbc_decrypt_128, black);
    EXPECT_EQ(encode(yellow, wb_dec::wb_output_decoding), plain);
    dec.key_setup(key, iv);
    const Bytes blue = dec.run(
        big ? &wb_dec::WbCoreWork::cbc_decrypt_blue_256 : &wb_dec::WbCoreWork::cbc_decrypt_blue_128,
        big ? wb_dec::wb_cbc_decrypt_blue_256 : wb_dec::wb_cbc_decrypt_blue_128, black);
    EXPECT_EQ(blue, white);  // blue is the white form
    dec.key_setup(key, &iv2);
    EXPECT_EQ(dec.run(big ? &wb_dec::WbCoreWork::cbc_encrypt_blue_256 : &wb_dec::WbCoreWork::cbc_encrypt_blue_128,
                      big ? wb_dec::wb_cbc_encrypt_blue_256 : wb_dec::wb_cbc_encrypt_blue_128, blue),
              reference_cbc(key, iv2, plain, true));
  }
  static Bytes encode(const Bytes& in, const uint8_t* table) {
    Bytes out;
    for (uint8_t b : in) out.push_back(table[b]);
    return out;
  }
};

class CoreTest : public ::testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(KeySizes, CoreTest, ::testing::Values(16u, 32u));

TEST_P(CoreTest, AgreesWithReferenceAcrossSetupsChainsKeyChangesAndReuse) {
  Cores cores;
  const Bytes k1 = random_bytes(GetParam()), k2 = random_bytes(GetParam());
  const Bytes iv = random_bytes(16), iv2 = random_bytes(16);
  for (const Bytes* key : {&k1, &k1, &k2, &k1}) {
    cores.check(*key, nullptr, random_bytes(80), iv2);
    cores.check(*key, &iv, random_bytes(80), iv2);
  }
  // The other key size on the same states.
  cores.check(random_bytes(48 - GetParam()), &iv, random_bytes(48), iv2);
}

// The same key is set up every time, so the keyed tables are reused and
// the corrupted byte is put back after each trial.
TEST(CoreMajority, OneCorruptedByteInOneCopyIsCorrected) {
  Cores cores;
  const Bytes key = random_bytes(16), iv = random_bytes(16);
  const size_t tables = offsetof(zel_whitebox::CopyWork, terms);
  for (int trial = 0; trial < 300; ++trial) {
    const bool decrypt = trial & 1;
    cores.enc.key_setup(key, &iv);
    cores.dec.key_setup(key, &iv);
    uint8_t* byte = (decrypt ? cores.dec.copy_region(trial % 3)
                             : cores.enc.copy_region(trial % 3)) +
                    rng() % tables;
    const uint8_t saved = *byte;
    *byte ^= static_cast<uint8_t>(1 + rng() % 255);
    const Bytes data = random_bytes(64);
    const Bytes expected =
        decrypt ? Cores::encode(reference_cbc(key, iv, data, false),
                                wb_enc::wb_input_encoding)
                : reference_cbc(key, iv, data, true);
    const Bytes out =
        decrypt ? cores.dec.run(&wb_dec::WbCoreWork::cbc_decrypt_blue_128,
                                wb_dec::wb_cbc_decrypt_blue_128, data)
                : cores.enc.run(&wb_enc::WbCoreWork::cbc_encrypt_128,
                                wb_enc::wb_cbc_encrypt_128,
                                Cores::encode(data, wb_enc::wb_input_encoding));
    *byte = saved;
    ASSERT_EQ(out, expected) << "trial " << trial;
  }
}

}  // namespace
