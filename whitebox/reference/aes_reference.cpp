// aes_reference.cpp: plain AES, byte-oriented, without secret-indexed
// tables. See aes_reference.h.
#include "aes_reference.h"
#include "../wiped_buffer.h"

#include <cstring>

namespace zel_ref {
namespace {

// Eight GF(2^8) elements side by side, one per byte of a 64-bit word.
using Lanes = uint64_t;

constexpr Lanes kLow7 = 0x7f7f7f7f7f7f7f7fULL;
constexpr Lanes kOnes = 0x0101010101010101ULL;

// xtime multiplies every lane by x (that is, 2) modulo the AES polynomial.
Lanes lanes_xtime(Lanes a) {
  const Lanes high = (a >> 7) & kOnes;
  return ((a & kLow7) << 1) ^ (high * 0x1b);
}

// lanes_mul multiplies lane by lane: shift-and-add with masks instead of
// branches, so the time does not depend on the values.
Lanes lanes_mul(Lanes a, Lanes b) {
  Lanes product = 0;
  for (int bit = 0; bit < 8; ++bit) {
    const Lanes mask = ((b >> bit) & kOnes) * 0xff;
    product ^= a & mask;
    a = lanes_xtime(a);
  }
  return product;
}

// lanes_inverse raises every lane to the power 254, which is its inverse in
// GF(2^8) (and maps 0 to 0, as the S-box needs). 254 = 2+4+8+...+128.
Lanes lanes_inverse(Lanes x) {
  Lanes square = lanes_mul(x, x);  // x^2
  Lanes result = square;
  for (int i = 0; i < 6; ++i) {
    square = lanes_mul(square, square);  // x^4, x^8, ..., x^128
    result = lanes_mul(result, square);
  }
  return result;
}

Lanes lanes_rotl1(Lanes a) {  // rotate every byte lane left by one bit
  return ((a << 1) & ~kOnes) | ((a >> 7) & kOnes);
}

// The affine map of the S-box: b ^ rotl(b,1) ^ rotl(b,2) ^ rotl(b,3) ^
// rotl(b,4) ^ 0x63, in every lane.
Lanes lanes_affine(Lanes b) {
  Lanes result = b;
  Lanes rotated = b;
  for (int i = 0; i < 4; ++i) {
    rotated = lanes_rotl1(rotated);
    result ^= rotated;
  }
  return result ^ (kOnes * 0x63);
}

// The inverse affine map: rotl(b,1) ^ rotl(b,3) ^ rotl(b,6) ^ 0x05.
Lanes lanes_inv_affine(Lanes b) {
  const Lanes r1 = lanes_rotl1(b);
  const Lanes r3 = lanes_rotl1(lanes_rotl1(r1));
  const Lanes r6 = lanes_rotl1(lanes_rotl1(lanes_rotl1(r3)));
  return r1 ^ r3 ^ r6 ^ (kOnes * 0x05);
}

Lanes load_lanes(const uint8_t* p) {
  Lanes v = 0;
  for (int i = 7; i >= 0; --i) v = (v << 8) | p[i];
  return v;
}

void store_lanes(Lanes v, uint8_t* p) {
  for (int i = 0; i < 8; ++i) {
    p[i] = static_cast<uint8_t>(v);
    v >>= 8;
  }
}

void sub_bytes(uint8_t state[16]) {
  for (int half = 0; half < 16; half += 8) {
    const Lanes v = load_lanes(state + half);
    store_lanes(lanes_affine(lanes_inverse(v)), state + half);
  }
}

void inv_sub_bytes(uint8_t state[16]) {
  for (int half = 0; half < 16; half += 8) {
    const Lanes v = load_lanes(state + half);
    store_lanes(lanes_inverse(lanes_inv_affine(v)), state + half);
  }
}

// The state is stored column by column: byte r + 4c is row r, column c.
void shift_rows(uint8_t s[16]) {
  uint8_t t[16];
  for (int c = 0; c < 4; ++c)
    for (int r = 0; r < 4; ++r) t[r + 4 * c] = s[r + 4 * ((c + r) % 4)];
  std::memcpy(s, t, 16);
}

void inv_shift_rows(uint8_t s[16]) {
  uint8_t t[16];
  for (int c = 0; c < 4; ++c)
    for (int r = 0; r < 4; ++r) t[r + 4 * ((c + r) % 4)] = s[r + 4 * c];
  std::memcpy(s, t, 16);
}

uint8_t xtime(uint8_t a) {
  return static_cast<uint8_t>((a << 1) ^ ((a >> 7) * 0x1b));
}

void mix_columns(uint8_t s[16]) {
  for (int c = 0; c < 4; ++c) {
    uint8_t* col = s + 4 * c;
    const uint8_t a0 = col[0], a1 = col[1], a2 = col[2], a3 = col[3];
    const uint8_t all = a0 ^ a1 ^ a2 ^ a3;
    col[0] = a0 ^ all ^ xtime(a0 ^ a1);
    col[1] = a1 ^ all ^ xtime(a1 ^ a2);
    col[2] = a2 ^ all ^ xtime(a2 ^ a3);
    col[3] = a3 ^ all ^ xtime(a3 ^ a0);
  }
}

void inv_mix_columns(uint8_t s[16]) {
  for (int c = 0; c < 4; ++c) {
    uint8_t* col = s + 4 * c;
    const uint8_t a0 = col[0], a1 = col[1], a2 = col[2], a3 = col[3];
    col[0] = gf_mul(a0, 14) ^ gf_mul(a1, 11) ^ gf_mul(a2, 13) ^ gf_mul(a3, 9);
    col[1] = gf_mul(a0, 9) ^ gf_mul(a1, 14) ^ gf_mul(a2, 11) ^ gf_mul(a3, 13);
    col[2] = gf_mul(a0, 13) ^ gf_mul(a1, 9) ^ gf_mul(a2, 14) ^ gf_mul(a3, 11);
    col[3] = gf_mul(a0, 11) ^ gf_mul(a1, 13) ^ gf_mul(a2, 9) ^ gf_mul(a3, 14);
  }
}

void add_round_key(uint8_t s[16], const uint8_t round_key[16]) {
  for (int i = 0; i < 16; ++i) s[i] ^= round_key[i];
}

// sub_word applies the S-box to four key bytes (the key schedule's SubWord).
void sub_word(uint8_t w[4]) {
  uint8_t lanes[8] = {w[0], w[1], w[2], w[3], 0, 0, 0, 0};
  store_lanes(lanes_affine(lanes_inverse(load_lanes(lanes))), lanes);
  std::memcpy(w, lanes, 4);
  secure_wipe(lanes, sizeof lanes);
}

}  // namespace

uint8_t gf_mul(uint8_t a, uint8_t b) {
  return static_cast<uint8_t>(lanes_mul(a, b));
}

uint8_t aes_sbox(uint8_t x) {
  return static_cast<uint8_t>(lanes_affine(lanes_inverse(x)));
}

uint8_t aes_inv_sbox(uint8_t x) {
  return static_cast<uint8_t>(lanes_inverse(lanes_inv_affine(x)));
}

void secure_wipe(void* p, unsigned long len) { zel_wb::wipe(p, len); }

void aes_wipe(AesKeySchedule& schedule) {
  secure_wipe(&schedule, sizeof schedule);
}

void aes_expand_key(const uint8_t* key, unsigned key_len,
                    AesKeySchedule& schedule) {
  std::memset(&schedule, 0, sizeof schedule);
  if (key_len != 16 && key_len != 32) return;
  const unsigned nk = key_len / 4;         // key length in 32-bit words
  schedule.rounds = nk + 6;                // 10 or 14
  const unsigned total = 4 * (schedule.rounds + 1);
  uint8_t* words = &schedule.round_key[0][0];  // word i at words + 4i
  std::memcpy(words, key, key_len);
  uint8_t rcon = 1;
  for (unsigned i = nk; i < total; ++i) {
    uint8_t temp[4];
    std::memcpy(temp, words + 4 * (i - 1), 4);
    if (i % nk == 0) {
      const uint8_t first = temp[0];  // RotWord
      temp[0] = temp[1];
      temp[1] = temp[2];
      temp[2] = temp[3];
      temp[3] = first;
      sub_word(temp);
      temp[0] ^= rcon;
      rcon = xtime(rcon);
    } else if (nk > 6 && i % nk == 4) {
      sub_word(temp);
    }
    for (int j = 0; j < 4; ++j)
      words[4 * i + j] = words[4 * (i - nk) + j] ^ temp[j];
    secure_wipe(temp, sizeof temp);
  }
}

void aes_encrypt_block(const AesKeySchedule& schedule, const uint8_t in[16],
                       uint8_t out[16]) {
  uint8_t s[16];
  std::memcpy(s, in, 16);
  add_round_key(s, schedule.round_key[0]);
  for (unsigned round = 1; round <= schedule.rounds; ++round) {
    sub_bytes(s);
    shift_rows(s);
    if (round != schedule.rounds) mix_columns(s);
    add_round_key(s, schedule.round_key[round]);
  }
  std::memcpy(out, s, 16);
  secure_wipe(s, sizeof s);
}

void aes_decrypt_block(const AesKeySchedule& schedule, const uint8_t in[16],
                       uint8_t out[16]) {
  uint8_t s[16];
  std::memcpy(s, in, 16);
  for (unsigned round = schedule.rounds; round >= 1; --round) {
    add_round_key(s, schedule.round_key[round]);
    if (round != schedule.rounds) inv_mix_columns(s);
    inv_shift_rows(s);
    inv_sub_bytes(s);
  }
  add_round_key(s, schedule.round_key[0]);
  std::memcpy(out, s, 16);
  secure_wipe(s, sizeof s);
}

}  // namespace zel_ref
