// dca_test.cpp: first-order DCA against the reference core (control: the
// harness must break it) and against the white-box core, attacking the
// first round from the plaintexts and the last round from the ciphertexts.
//
// The white-box traces come from the traced build of the core with the
// build's own tables and the development store key in protected form; the
// ranks are computed against the raw key (keys/egsk-raw.bin). Each run
// prints the rank of every correct key byte. ZEL_DCA_TRACES overrides the
// number of white-box traces (10,000) for longer runs by hand.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "aes_reference.h"
#include "dca.h"
#include "key_protection.h"
#include "lookup_recorder.h"
#include "reference_trace.h"
#include "seed_file.h"
#include "wb_core.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes read_raw_dev_key() {
  std::ifstream file(std::string(ZEL_KEYS_DIR) + "/egsk-raw.bin",
                     std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

// report ranks the 16 bytes of |correct|, prints them under |title| and
// returns how many ranked first.
unsigned report(const char* title, const Dca& dca, const uint8_t correct[16]) {
  unsigned first = 0;
  std::printf("%s, %zu traces: rank of each correct key byte\n ", title,
              dca.traces());
  for (unsigned i = 0; i < 16; ++i) {
    const KeyByteRanking r = dca.rank(i, correct[i]);
    first += r.rank == 1;
    std::printf(" %u", r.rank);
  }
  std::printf("\n  -> %u of 16 key bytes rank first\n", first);
  return first;
}

TEST(DcaReferenceCore, RecoversEveryKeyByteWithinFiftyTraces) {
  const Bytes key = read_raw_dev_key();
  ASSERT_EQ(key.size(), 16u);
  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(key.data(), 16, schedule);
  Dca first(DcaTarget::kFirstRoundSbox, kReferenceFirstRoundBytes);
  Dca last(DcaTarget::kLastRoundInverseSbox, kReferenceLastRoundBytes);
  std::mt19937 rng(1);
  for (int t = 0; t < 50; ++t) {
    uint8_t plain[16], cipher[16], expected[16];
    uint8_t first_trace[kReferenceFirstRoundBytes];
    uint8_t last_trace[kReferenceLastRoundBytes];
    for (uint8_t& b : plain) b = static_cast<uint8_t>(rng());
    reference_trace(schedule, plain, cipher, first_trace, last_trace);
    zel_ref::aes_encrypt_block(schedule, plain, expected);
    ASSERT_EQ(std::memcmp(cipher, expected, 16), 0);
    first.add(plain, first_trace);
    last.add(cipher, last_trace);
  }
  EXPECT_EQ(report("reference core, first round", first, schedule.round_key[0]),
            16u);
  EXPECT_EQ(report("reference core, last round", last,
                   schedule.round_key[schedule.rounds]),
            16u);
  zel_ref::aes_wipe(schedule);
}

TEST(DcaWhiteBoxCore, RecoversNoKeyByteFromItsLookUps) {
  const char* override_traces = std::getenv("ZEL_DCA_TRACES");
  const int traces = override_traces ? std::atoi(override_traces) : 10000;
  const Bytes key = read_raw_dev_key();
  ASSERT_EQ(key.size(), 16u);
  zel_wbgen::Seed seed;
  std::string error;
  ASSERT_TRUE(zel_wbgen::read_seed_file(ZEL_WB_SEED_FILE, seed, error)) << error;

  wb_enc::WbCoreState state{
      static_cast<wb_enc::WbCoreWork*>(std::malloc(wb_enc::wb_work_size)), 0};
  zel_wbgen::protect_key(seed.bytes, key.data(), 16,
                         state.work->key_setup_128.key);
  uint8_t protected_key[16];
  std::memcpy(protected_key, state.work->key_setup_128.key, 16);

  zel_ref::AesKeySchedule schedule;
  zel_ref::aes_expand_key(key.data(), 16, schedule);
  constexpr unsigned kRounds = 10;
  LookupRecorder recorder;
  std::unique_ptr<Dca> first, last;
  std::mt19937 rng(2);
  for (int t = 0; t < traces; ++t) {
    uint8_t plain[16], white[16], cipher[16], expected[16];
    for (uint8_t& b : plain) b = static_cast<uint8_t>(rng());
    for (int i = 0; i < 16; ++i) white[i] = wb_enc::wb_input_encoding[plain[i]];
    // A fresh key-only setup per trace: the chaining value is zero, so the
    // first round's known input is the plaintext itself.
    std::memcpy(state.work->key_setup_128.key, protected_key, 16);
    wb_enc::wb_key_setup_128(state);
    recorder.clear();
    state.work->cbc_encrypt_128 = {white, 16, cipher};
    wb_enc::wb_cbc_encrypt_128(state);
    zel_ref::aes_encrypt_block(schedule, plain, expected);
    ASSERT_EQ(std::memcmp(cipher, expected, 16), 0);
    // Windows: the first round's look-ups (input step included), and the
    // look-ups of the last two layers, which produce and consume the last
    // round's input.
    const Bytes first_window = recorder.window(0, 0);
    const Bytes last_window = recorder.window(kRounds - 2, kRounds - 1);
    if (!first) {
      first.reset(new Dca(DcaTarget::kFirstRoundSbox, first_window.size()));
      last.reset(new Dca(DcaTarget::kLastRoundInverseSbox, last_window.size()));
      std::printf("white-box trace windows: %zu bytes (first round), %zu "
                  "bytes (last round)\n", first_window.size(), last_window.size());
    }
    first->add(plain, first_window.data());
    last->add(cipher, last_window.data());
  }
  EXPECT_EQ(report("white-box core, first round", *first, schedule.round_key[0]),
            0u);
  EXPECT_EQ(report("white-box core, last round", *last,
                   schedule.round_key[kRounds]),
            0u);
  zel_ref::aes_wipe(schedule);
  zel_ref::secure_wipe(state.work, wb_enc::wb_work_size);
  std::free(state.work);
}

}  // namespace
