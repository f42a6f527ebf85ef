// aes_util.cpp: see aes_util.h.
#include "aes_util.h"

#include <cstring>

#include "aes_reference.h"

namespace zel_audit {
namespace {

struct Tables {
  uint8_t s[256], inv[256];
  Tables() {
    for (unsigned x = 0; x < 256; ++x) {
      s[x] = zel_ref::aes_sbox(static_cast<uint8_t>(x));
      inv[x] = zel_ref::aes_inv_sbox(static_cast<uint8_t>(x));
    }
  }
};

const Tables& tables() {
  static const Tables t;
  return t;
}

void mix_with(uint8_t s[16], const uint8_t coef[4]) {
  for (unsigned c = 0; c < 4; ++c) {
    uint8_t* col = s + 4 * c;
    const uint8_t a[4] = {col[0], col[1], col[2], col[3]};
    for (unsigned r = 0; r < 4; ++r)
      col[r] = gmul(a[r], coef[0]) ^ gmul(a[(r + 1) % 4], coef[1]) ^
               gmul(a[(r + 2) % 4], coef[2]) ^ gmul(a[(r + 3) % 4], coef[3]);
  }
}

}  // namespace

const uint8_t* sbox() { return tables().s; }
const uint8_t* inv_sbox() { return tables().inv; }
uint8_t gmul(uint8_t a, uint8_t b) { return zel_ref::gf_mul(a, b); }

unsigned shift_dest(unsigned i) {
  return (i & 3) + 4 * (((i >> 2) - (i & 3)) & 3);
}
unsigned inv_shift_dest(unsigned i) {
  return (i & 3) + 4 * (((i >> 2) + (i & 3)) & 3);
}

void shift_rows(uint8_t s[16]) {
  uint8_t t[16];
  for (unsigned i = 0; i < 16; ++i) t[shift_dest(i)] = s[i];
  std::memcpy(s, t, 16);
}
void inv_shift_rows(uint8_t s[16]) {
  uint8_t t[16];
  for (unsigned i = 0; i < 16; ++i) t[inv_shift_dest(i)] = s[i];
  std::memcpy(s, t, 16);
}
void mix_columns(uint8_t s[16]) {
  static const uint8_t coef[4] = {2, 3, 1, 1};
  mix_with(s, coef);
}
void inv_mix_columns(uint8_t s[16]) {
  static const uint8_t coef[4] = {14, 11, 13, 9};
  mix_with(s, coef);
}

void aes_block(const std::vector<uint8_t>& key, bool decrypt,
               const uint8_t in[16], uint8_t out[16]) {
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(key.data(), static_cast<unsigned>(key.size()),
                          schedule);
  if (decrypt)
    zel_ref::aes_decrypt_block(schedule, in, out);
  else
    zel_ref::aes_encrypt_block(schedule, in, out);
  zel_ref::aes_wipe(schedule);
}

std::vector<std::vector<uint8_t>> round_keys(const std::vector<uint8_t>& key) {
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(key.data(), static_cast<unsigned>(key.size()),
                          schedule);
  std::vector<std::vector<uint8_t>> keys;
  for (unsigned r = 0; r <= schedule.rounds; ++r)
    keys.emplace_back(schedule.round_key[r], schedule.round_key[r] + 16);
  zel_ref::aes_wipe(schedule);
  return keys;
}

std::vector<uint8_t> key_from_last_round_keys(unsigned key_len,
                                              const uint8_t* second_last,
                                              const uint8_t* last) {
  const unsigned nk = key_len / 4;
  const unsigned total = 4 * (nk + 7);  // words
  std::vector<uint8_t> w(4 * total);
  // The last nk words are known: the last round key, preceded (AES-256) by
  // the one before it.
  if (nk == 4) {
    std::memcpy(&w[4 * (total - 4)], last, 16);
  } else {
    std::memcpy(&w[4 * (total - 8)], second_last, 16);
    std::memcpy(&w[4 * (total - 4)], last, 16);
  }
  uint8_t rcon[15] = {1};
  for (unsigned i = 1; i < 15; ++i) rcon[i] = gmul(rcon[i - 1], 2);
  for (unsigned n = total - 1; n >= nk; --n) {
    // w[n] = w[n - nk] ^ t(w[n - 1])  =>  w[n - nk] = w[n] ^ t(w[n - 1])
    const uint8_t* prev = &w[4 * (n - 1)];
    uint8_t t[4];
    if (n % nk == 0) {
      t[0] = sbox()[prev[1]] ^ rcon[n / nk - 1];
      t[1] = sbox()[prev[2]];
      t[2] = sbox()[prev[3]];
      t[3] = sbox()[prev[0]];
    } else if (nk == 8 && n % nk == 4) {
      for (unsigned b = 0; b < 4; ++b) t[b] = sbox()[prev[b]];
    } else {
      std::memcpy(t, prev, 4);
    }
    for (unsigned b = 0; b < 4; ++b) w[4 * (n - nk) + b] = w[4 * n + b] ^ t[b];
  }
  return std::vector<uint8_t>(w.begin(), w.begin() + key_len);
}

}  // namespace zel_audit
