// table_scan_test.cpp: no generated table is, or contains a run of, the
// AES S-box, its inverse or a standard T-table (encryption Te0..Te3,
// decryption Td0..Td3, in either byte order). Runs of 8 bytes are looked
// for anywhere in every table, at every offset.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "aes_reference.h"
#include "byte_scan.h"
#include "wb_core.h"
#include "wb_tables.h"

namespace {

using zel_whitebox::kXorTableSize;

std::vector<uint8_t> sbox_bytes(bool inverse) {
  std::vector<uint8_t> out;
  for (unsigned x = 0; x < 256; ++x)
    out.push_back(inverse ? zel_ref::aes_inv_sbox(static_cast<uint8_t>(x))
                          : zel_ref::aes_sbox(static_cast<uint8_t>(x)));
  return out;
}

// t_table returns T-table |rotation| of the cipher (|inverse| for the
// decryption tables), each entry's four bytes in |big_endian| order or not.
std::vector<uint8_t> t_table(bool inverse, unsigned rotation,
                             bool big_endian) {
  static const uint8_t kMix[4] = {2, 1, 1, 3};
  static const uint8_t kInvMix[4] = {14, 9, 13, 11};
  std::vector<uint8_t> out;
  for (unsigned x = 0; x < 256; ++x) {
    const uint8_t s = inverse ? zel_ref::aes_inv_sbox(static_cast<uint8_t>(x))
                              : zel_ref::aes_sbox(static_cast<uint8_t>(x));
    uint8_t entry[4];
    for (unsigned b = 0; b < 4; ++b)
      entry[b] = zel_ref::gf_mul(s, (inverse ? kInvMix : kMix)[(b + 4 - rotation) & 3]);
    for (unsigned b = 0; b < 4; ++b) out.push_back(entry[big_endian ? 3 - b : b]);
  }
  return out;
}

WindowSet public_aes_tables() {
  WindowSet set;
  set.add(sbox_bytes(false));
  set.add(sbox_bytes(true));
  for (bool inverse : {false, true})
    for (unsigned rotation = 0; rotation < 4; ++rotation)
      for (bool big_endian : {false, true})
        set.add(t_table(inverse, rotation, big_endian));
  return set;
}

struct NamedTable {
  std::string name;
  const void* data;
  size_t size;
};

std::vector<NamedTable> generated_tables() {
  using namespace zel_whitebox;
  std::vector<NamedTable> tables = {
      {"wb_input_encoding", wb_enc::wb_input_encoding, 256},
      {"wb_output_decoding", wb_dec::wb_output_decoding, 256}};
  const auto add_keys = [&](const std::string& core, const KeyTables& k) {
    tables.push_back({core + "unprotect_128", k.unprotect_128, 16 * 256});
    tables.push_back({core + "unprotect_256", k.unprotect_256, 32 * 256});
    tables.push_back({core + "key_xor", k.xor_, kXorTableSize});
    tables.push_back({core + "key_sbox", k.sbox, 256});
    tables.push_back({core + "key_rcon", k.rcon, 10});
  };
  const auto add_mix = [&](const std::string& p, const uint8_t* const* mix,
                           const uint32_t* sbox_mix) {
    for (int t = 0; t < 3; ++t)
      tables.push_back({p + "mix_xor" + std::to_string(t), mix[t], kXorTableSize});
    tables.push_back({p + "sbox_mix", sbox_mix, (kMaxLayers - 1) * kLayerMapSize * 4});
  };
  const auto add_forward = [&](const std::string& p, const ForwardTables& f) {
    tables.push_back({p + "input_xor", f.input_xor, kXorTableSize});
    tables.push_back({p + "entry_index", f.entry_index, kMaxLayers * kLayerMapSize});
    tables.push_back({p + "reencode", f.reencode, (kMaxLayers - 1) * kLayerMapSize});
    add_mix(p, f.mix_xor, f.sbox_mix);
    tables.push_back({p + "key_xor", f.key_xor, kXorTableSize});
    tables.push_back({p + "last_sbox", f.last_sbox, 256});
    tables.push_back({p + "last_key_xor", f.last_key_xor, kXorTableSize});
  };
  add_keys("enc_", enc_key_tables);
  add_keys("dec_", dec_key_tables);
  add_forward("enc_fwd_", enc_forward_tables);
  add_forward("dec_fwd_", dec_forward_tables);
  const InverseTables& inv = dec_inverse_tables;
  tables.push_back({"dec_inv_cipher_key_xor", inv.cipher_key_xor, kXorTableSize});
  tables.push_back({"dec_inv_inv_sbox", inv.inv_sbox, 256});
  tables.push_back({"dec_inv_key_xor", inv.key_xor, kXorTableSize});
  add_mix("dec_inv_", inv.mix_xor, inv.sbox_mix);
  tables.push_back({"dec_inv_entry_index", inv.entry_index, (kMaxLayers - 1) * kLayerMapSize});
  tables.push_back({"dec_inv_reencode", inv.reencode, (kMaxLayers - 1) * kLayerMapSize});
  tables.push_back({"dec_inv_yellow_xor", inv.yellow_xor, kXorTableSize});
  tables.push_back({"dec_inv_blue_xor", inv.blue_xor, kXorTableSize});
  return tables;
}

// The scanner itself: a run of the S-box at an odd offset inside noise, and
// a run of a T-table, are both found.
TEST(TableScan, FindsPublicTableRunsAnywhere) {
  const WindowSet set = public_aes_tables();
  std::vector<uint8_t> buffer(1000, 0);
  for (size_t i = 0; i < buffer.size(); ++i) buffer[i] = static_cast<uint8_t>(i * 7);
  EXPECT_EQ(set.first_match(buffer.data(), buffer.size()), -1);
  const std::vector<uint8_t> sbox = sbox_bytes(true);
  std::copy(sbox.begin() + 100, sbox.begin() + 108, buffer.begin() + 333);
  EXPECT_EQ(set.first_match(buffer.data(), buffer.size()), 333);
  const std::vector<uint8_t> te = t_table(false, 2, true);
  std::vector<uint8_t> other(64, 0x55);
  std::copy(te.begin() + 40, te.begin() + 48, other.begin() + 9);
  EXPECT_EQ(set.first_match(other.data(), other.size()), 9);
}

TEST(TableScan, NoGeneratedTableHoldsAPublicAesTable) {
  const WindowSet set = public_aes_tables();
  size_t total = 0;
  for (const NamedTable& t : generated_tables()) {
    EXPECT_EQ(set.first_match(static_cast<const uint8_t*>(t.data), t.size), -1)
        << t.name;
    total += t.size;
  }
  // Every table is listed: the sizes add up to the reported total.
  EXPECT_EQ(total, zel_wb::wb_generated_table_bytes);
}

// The key forms' S-box tables compute the S-box on encoded bytes; no such
// table may be the S-box itself, nor agree with it on many inputs.
TEST(TableScan, EncodedSboxTablesAreFarFromTheSbox) {
  const std::vector<uint8_t> sbox = sbox_bytes(false);
  const std::vector<uint8_t> inv = sbox_bytes(true);
  for (const NamedTable& t : generated_tables()) {
    if (t.size != 256) continue;
    const auto* bytes = static_cast<const uint8_t*>(t.data);
    unsigned same = 0, same_inv = 0;
    for (unsigned x = 0; x < 256; ++x) {
      same += bytes[x] == sbox[x];
      same_inv += bytes[x] == inv[x];
    }
    EXPECT_LT(same, 16u) << t.name;
    EXPECT_LT(same_inv, 16u) << t.name;
  }
}

}  // namespace
