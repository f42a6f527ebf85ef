// encoded_schedule.cpp: see encoded_schedule.h.
#include "encoded_schedule.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>

#include "aes_util.h"

namespace zel_audit {
namespace {

void shuffle(uint8_t* p, unsigned n, std::mt19937& rng) {
  for (unsigned i = n - 1; i > 0; --i) std::swap(p[i], p[rng() % (i + 1)]);
}

}  // namespace

EncodedSchedule::EncodedSchedule(const std::vector<uint8_t>& raw_key,
                                 const std::vector<uint8_t>& protected_key)
    : nibble_(raw_key.size() == 32) {
  std::mt19937 rng(0x5c4ed);
  const unsigned key_len = static_cast<unsigned>(raw_key.size());
  // E: a random byte permutation, or two random 4-bit permutations.
  uint8_t encode[256], hi[16], lo[16];
  for (unsigned v = 0; v < 16; ++v) hi[v] = lo[v] = static_cast<uint8_t>(v);
  shuffle(hi, 16, rng);
  shuffle(lo, 16, rng);
  for (unsigned x = 0; x < 256; ++x)
    encode[x] = static_cast<uint8_t>(hi[x >> 4] << 4 | lo[x & 15]);
  if (!nibble_) shuffle(encode, 256, rng);
  for (unsigned x = 0; x < 256; ++x) decode_[encode[x]] = uint8_t(x);

  unprotect_ = 0;
  sbox_ = unprotect_ + 256 * key_len;
  xor_ = sbox_ + 256;
  rcon_ = xor_ + (nibble_ ? 512 : 65536);
  tables_.resize(rcon_ + 10);
  for (unsigned j = 0; j < key_len; ++j) {
    uint8_t q[256];  // Q[j]: protected byte -> raw byte
    for (unsigned p = 0; p < 256; ++p) q[p] = static_cast<uint8_t>(p);
    shuffle(q, 256, rng);
    std::swap(q[protected_key[j]], *std::find(q, q + 256, raw_key[j]));
    for (unsigned p = 0; p < 256; ++p)
      tables_[unprotect_ + 256 * j + p] = encode[q[p]];
  }
  for (unsigned x = 0; x < 256; ++x)
    tables_[sbox_ + x] = encode[sbox()[decode_[x]]];
  if (nibble_) {
    for (unsigned a = 0; a < 16; ++a)  // plain nibbles a, b
      for (unsigned b = 0; b < 16; ++b) {
        tables_[xor_ + (hi[a] << 4 | hi[b])] = hi[a ^ b];
        tables_[xor_ + 256 + (lo[a] << 4 | lo[b])] = lo[a ^ b];
      }
  } else {
    for (unsigned a = 0; a < 256; ++a)
      for (unsigned b = 0; b < 256; ++b)
        tables_[xor_ + 256 * a + b] = encode[decode_[a] ^ decode_[b]];
  }
  uint8_t rcon = 1;
  for (unsigned i = 0; i < 10; ++i, rcon = gmul(rcon, 2))
    tables_[rcon_ + i] = encode[rcon];
}

EncodedSchedule::~EncodedSchedule() {
  std::memset(decode_, 0, sizeof decode_);
  std::memset(tables_.data(), 0, tables_.size());
}

uint8_t EncodedSchedule::encoded_xor(uint8_t a, uint8_t b) const {
  const uint8_t* t = tables_.data() + xor_;
  if (!nibble_) return t[256 * a + b];
  return static_cast<uint8_t>(t[(a & 0xf0) | b >> 4] << 4 |
                              t[256 + ((a & 15) << 4 | (b & 15))]);
}

void EncodedSchedule::expand(const std::vector<uint8_t>& protected_key,
                             uint8_t round_key[15][16]) const {
  const unsigned nk = static_cast<unsigned>(protected_key.size()) / 4;
  const unsigned words = 4 * (nk + 7);
  uint8_t w[60][4];
  for (unsigned j = 0; j < 4 * nk; ++j)
    w[j / 4][j % 4] = tables_[unprotect_ + 256 * j + protected_key[j]];
  for (unsigned n = nk; n < words; ++n) {
    uint8_t t[4];
    for (unsigned b = 0; b < 4; ++b) t[b] = w[n - 1][b];
    if (n % nk == 0 || (nk == 8 && n % nk == 4)) {
      const unsigned rot = n % nk == 0 ? 1 : 0;
      for (unsigned b = 0; b < 4; ++b)
        t[b] = tables_[sbox_ + w[n - 1][(b + rot) & 3]];
      if (rot) t[0] = encoded_xor(t[0], tables_[rcon_ + n / nk - 1]);
    }
    for (unsigned b = 0; b < 4; ++b) w[n][b] = encoded_xor(w[n - nk][b], t[b]);
  }
  for (unsigned r = 0; r < nk + 7; ++r)
    for (unsigned i = 0; i < 16; ++i)
      round_key[r][i] = decode_[w[4 * r + i / 4][i % 4]];
  std::memset(w, 0, sizeof w);
}

}  // namespace zel_audit
