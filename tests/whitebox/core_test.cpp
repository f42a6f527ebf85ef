// core_test.cpp: the white-box cores against the reference AES through the
// wrappers' CBC steps (key-only and key-and-IV setups, a chain continued
// over two calls, key changes, also to a key that shares all but its last
// byte or its first half with the held one, and the same key set up again;
// decryption to yellow and to blue, re-encryption of blue after decryption
// and back); the majority vote: one corrupted byte anywhere in one copy's
// keyed tables of either core, or a corrupted entry or table of one copy's
// key schedule while a new key is set up, leaves every output correct;
// zel-wb-generate run again on the build's seed writes the build's sources
// byte for byte; and zel-egsk wrap gives the form the key setups take,
// unwrap undoes it.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "aes_reference.h"
#include "keyed_tables.h"
#include "wb_tables.h"
#include "temp_dir.h"
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

Bytes map_bytes(Bytes in, const uint8_t* table) {
  for (uint8_t& b : in) b = table[b];
  return in;
}

Bytes reference_cbc(const Bytes& key, const Bytes& iv, const Bytes& in,
                    bool encrypt) {
  zel_ref::AesKeySchedule s;
  zel_ref::aes_expand_key(key.data(), static_cast<unsigned>(key.size()), s);
  Bytes out(in.size()), chain(iv), block(16);
  for (size_t o = 0; o < in.size(); o += 16) {
    for (int i = 0; i < 16 && encrypt; ++i) block[i] = in[o + i] ^ chain[i];
    if (encrypt) zel_ref::aes_encrypt_block(s, block.data(), &out[o]);
    if (!encrypt) zel_ref::aes_decrypt_block(s, &in[o], block.data());
    for (int i = 0; i < 16 && !encrypt; ++i) out[o + i] = block[i] ^ chain[i];
    std::memcpy(chain.data(), encrypt ? &out[o] : &in[o], 16);
  }
  zel_ref::aes_wipe(s);
  return out;
}

class CoreTest : public ::testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(KeySizes, CoreTest, ::testing::Values(16u, 32u));

TEST_P(CoreTest, AgreesWithReferenceAcrossSetupsChainsKeyChangesAndReuse) {
  PKIWB_encrypt enc(GetParam());
  PKIWB_decrypt dec(GetParam());
  const Bytes k1 = random_bytes(GetParam()), k2 = random_bytes(GetParam());
  // Keys that a setup holding k1 could take for k1 if it compared only a
  // part: k1 but for its last byte, and k1's first half with a new second.
  Bytes changed_last = k1, changed_half = random_bytes(GetParam());
  changed_last.back() ^= 0x5a;
  std::copy(k1.begin(), k1.begin() + GetParam() / 2, changed_half.begin());
  const Bytes &k1_but_last = changed_last, &k1_first_half = changed_half;
  const Bytes zero(16, 0), iv = random_bytes(16), iv2 = random_bytes(16);
  for (const Bytes* raw : {&k1, &k1, &k2, &k1, &k1, &k1_but_last, &k1, &k1_first_half, &k1})
    for (const Bytes* start : {&zero, &iv}) {
      const Bytes key = CoreKeyForm(*raw), plain = random_bytes(80);
      const Bytes white = map_bytes(plain, wb_enc::wb_input_encoding);
      auto init = [&](auto& object) {
        start == &zero ? object.aes_init(key.data())
                       : object.aes_init(key.data(), start->data());
      };
      Bytes black(80), yellow(80), blue(80), again(80);
      init(enc);
      enc.wb_cbc_encrypt(white.data(), black.data(), 32);
      enc.wb_cbc_encrypt(white.data() + 32, black.data() + 32, 48);
      ASSERT_EQ(black, reference_cbc(*raw, *start, plain, true));
      init(dec);
      dec.wb_cbc_decrypt(black.data(), yellow.data(), 80);
      EXPECT_EQ(map_bytes(yellow, wb_dec::wb_output_decoding), plain);
      init(dec);
      dec.wb_cbc_decrypt_for_recrypt(black.data(), blue.data(), 80);
      EXPECT_EQ(blue, white);  // blue is the white form
      dec.aes_init(key.data(), iv2.data());
      dec.wb_cbc_encrypt(blue.data(), again.data(), 80);
      EXPECT_EQ(again, reference_cbc(*raw, iv2, plain, true));
    }
}

// Cores run a working block of each core directly (wb_core.h); the block
// is laid out as the cores lay it out: the wrapper's fields, then the
// copies.
template <typename Work> struct Layout : Work { zel_whitebox::KeyedCopies keyed; };

// MajorityCores: an encryptor and a decryptor core state, run directly.
struct MajorityCores {
  wb_enc::WbCoreState enc{static_cast<wb_enc::WbCoreWork*>(std::malloc(wb_enc::wb_work_size)), 0};
  wb_dec::WbCoreState dec{static_cast<wb_dec::WbCoreWork*>(std::malloc(wb_dec::wb_work_size)), 0};
  ~MajorityCores() {
    std::free(enc.work);
    std::free(dec.work);
  }
  void set_up(const Bytes& key, const Bytes& iv, bool encryptor, bool decryptor) {
    for (uint8_t* field : {enc.work->key_iv_setup_128.key, dec.work->key_iv_setup_128.key}) {
      std::memcpy(field, key.data(), 16);
      std::memcpy(field + 16, iv.data(), 16);
    }
    if (encryptor) wb_enc::wb_key_iv_setup_128(enc);
    if (decryptor) wb_dec::wb_key_iv_setup_128(dec);
  }
  // cbc runs 64 random bytes through one core: {its output, the reference's}.
  std::pair<Bytes, Bytes> cbc(bool decrypt, const Bytes& raw, const Bytes& iv) {
    const Bytes data = random_bytes(64);
    Bytes in = decrypt ? data : map_bytes(data, wb_enc::wb_input_encoding), out(64);
    dec.work->cbc_decrypt_blue_128 = enc.work->cbc_encrypt_128 = {in.data(), 64, out.data()};
    decrypt ? wb_dec::wb_cbc_decrypt_blue_128(dec) : wb_enc::wb_cbc_encrypt_128(enc);
    return {out, decrypt ? map_bytes(reference_cbc(raw, iv, data, false), wb_enc::wb_input_encoding)
                         : reference_cbc(raw, iv, data, true)};
  }
};

TEST(CoreMajority, OneCorruptedByteInOneCopyIsCorrected) {
  const Bytes raw = random_bytes(16), iv = random_bytes(16), key = CoreKeyForm(raw);
  MajorityCores cores;
  for (int trial = 0; trial < 300; ++trial) {
    const bool decrypt = trial & 1;
    cores.set_up(key, iv, true, true);  // the same key: tables kept
    zel_whitebox::CopyWork& copy =
        decrypt ? static_cast<Layout<wb_dec::WbCoreWork>*>(cores.dec.work)->keyed.copy[trial % 3]
                : static_cast<Layout<wb_enc::WbCoreWork>*>(cores.enc.work)->keyed.copy[trial % 3];
    uint8_t* byte = reinterpret_cast<uint8_t*>(&copy) +
                    rng() % offsetof(zel_whitebox::CopyWork, terms);
    const uint8_t saved = *byte;
    *byte ^= static_cast<uint8_t>(1 + rng() % 255);
    const auto [got, want] = cores.cbc(decrypt, raw, iv);
    *byte = saved;
    ASSERT_EQ(got, want) << "trial " << trial;
  }
}

// Writable makes the read-only pages under [p, p + n) writable for its
// lifetime.
struct Writable {
  uint8_t* start;
  size_t length;
  Writable(const uint8_t* p, size_t n) {
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t first = reinterpret_cast<uintptr_t>(p) & ~(page - 1);
    start = reinterpret_cast<uint8_t*>(first);
    length = reinterpret_cast<uintptr_t>(p) + n - first;
    EXPECT_EQ(mprotect(start, length, PROT_READ | PROT_WRITE), 0);
  }
  ~Writable() { mprotect(start, length, PROT_READ); }
};

TEST(CoreMajority, OneCopysCorruptedKeyScheduleIsCorrected) {
  MajorityCores cores;
  for (int trial = 0; trial < 48; ++trial) {
    const bool decrypt = trial & 1;
    const Bytes raw = random_bytes(16), iv = random_bytes(16), key = CoreKeyForm(raw);
    // A corrupted entry that this key reads (unprotect), or a whole corrupted
    // SubWord or XOR table of the copy's schedule.
    const zel_whitebox::KeySchedule& ks = zel_whitebox::key_tables[trial % 3].aes128;
    const uint8_t* at = trial % 6 < 2   ? ks.unprotect + (trial % 16) * 256 + key[trial % 16]
                        : trial % 6 < 4 ? ks.sub_word + rng() % 40 * 256
                                        : ks.xor_ + rng() % 160 * zel_whitebox::kNibbleXorSize;
    const size_t length = trial % 6 < 2 ? 1 : 256;
    const Writable writable(at, length);
    uint8_t* bytes = const_cast<uint8_t*>(at);
    const Bytes saved(bytes, bytes + length);
    for (size_t i = 0; i < length; ++i) bytes[i] ^= static_cast<uint8_t>(1 + rng() % 255);
    cores.set_up(key, iv, !decrypt, decrypt);
    std::memcpy(bytes, saved.data(), length);
    const auto [got, want] = cores.cbc(decrypt, raw, iv);
    ASSERT_EQ(got, want) << "trial " << trial;
  }
}

TEST(Generator, SameSeedGivesTheBuildsBytes) {
  TempDir dir;
  WriteFile(dir / "wb_seed.bin", ReadFile(ZEL_WB_SEED_FILE));
  const std::string command = std::string("'") + ZEL_WB_GENERATOR + "' --seed '" +
                              (dir / "wb_seed.bin") + "' --out-dir '" + dir.path() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  for (const char* name : {"wb_enc_tables.cpp", "wb_dec_tables.cpp", "wb_table_size.cpp"})
    EXPECT_EQ(ReadFile(dir / name), ReadFile(std::string(ZEL_WB_GENERATED_DIR) + "/" + name)) << name;
}

TEST(EgskTool, WrapGivesTheKeySetupFormAndUnwrapUndoesIt) {
  for (size_t len : {16u, 32u}) {
    TempDir d;
    const Bytes raw = random_bytes(len), key = CoreKeyForm(raw);
    WriteFile(d / "raw.bin", std::string(raw.begin(), raw.end()));
    const std::string tool = std::string("'") + ZEL_EGSK_TOOL + "' ";
    const std::string seed = " --seed '" + std::string(ZEL_WB_SEED_FILE) + "' --in '";
    ASSERT_EQ(std::system((tool + "wrap" + seed + (d / "raw.bin") + "' --out '" +
                           (d / "p.bin") + "'").c_str()), 0);
    EXPECT_EQ(ReadFile(d / "p.bin"), std::string(key.begin(), key.end()));
    ASSERT_EQ(std::system((tool + "unwrap" + seed + (d / "p.bin") + "' --out '" +
                           (d / "back.bin") + "'").c_str()), 0);
    EXPECT_EQ(ReadFile(d / "back.bin"), std::string(raw.begin(), raw.end()));
  }
}

}  // namespace
