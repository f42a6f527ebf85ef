// reference_trace.cpp: see reference_trace.h.
#include "reference_trace.h"

#include <cstring>

namespace {

void sub_bytes(uint8_t s[16]) {
  for (int i = 0; i < 16; ++i) s[i] = zel_ref::aes_sbox(s[i]);
}

void shift_rows(uint8_t s[16]) {
  uint8_t t[16];
  for (int c = 0; c < 4; ++c)
    for (int r = 0; r < 4; ++r) t[r + 4 * c] = s[r + 4 * ((c + r) % 4)];
  std::memcpy(s, t, 16);
}

void mix_columns(uint8_t s[16]) {
  for (int c = 0; c < 4; ++c) {
    uint8_t* col = s + 4 * c;
    const uint8_t a[4] = {col[0], col[1], col[2], col[3]};
    for (int r = 0; r < 4; ++r)
      col[r] = zel_ref::gf_mul(a[r], 2) ^ zel_ref::gf_mul(a[(r + 1) % 4], 3) ^
               a[(r + 2) % 4] ^ a[(r + 3) % 4];
  }
}

void add_round_key(uint8_t s[16], const uint8_t k[16]) {
  for (int i = 0; i < 16; ++i) s[i] ^= k[i];
}

}  // namespace

void reference_trace(const zel_ref::AesKeySchedule& schedule,
                     const uint8_t plain[16], uint8_t cipher[16],
                     uint8_t first_round[kReferenceFirstRoundBytes],
                     uint8_t last_round[kReferenceLastRoundBytes]) {
  uint8_t s[16];
  std::memcpy(s, plain, 16);
  add_round_key(s, schedule.round_key[0]);
  for (unsigned round = 1; round <= schedule.rounds; ++round) {
    const bool first = round == 1, last = round == schedule.rounds;
    if (first) std::memcpy(first_round, s, 16);
    if (last) std::memcpy(last_round, s, 16);
    sub_bytes(s);
    if (first) std::memcpy(first_round + 16, s, 16);
    if (last) std::memcpy(last_round + 16, s, 16);
    shift_rows(s);
    if (first) std::memcpy(first_round + 32, s, 16);
    if (!last) mix_columns(s);
    if (first) std::memcpy(first_round + 48, s, 16);
    add_round_key(s, schedule.round_key[round]);
  }
  std::memcpy(last_round + 32, s, 16);
  std::memcpy(cipher, s, 16);
}
