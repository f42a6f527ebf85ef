// The audit's verdict and command line on made-up outcomes: which findings
// fail the audit, what --accept may accept, when a control counts as
// broken, and how a ranking attack's bytes are scored.
#include "verdict.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "options.h"

namespace zel_audit {
namespace {

const std::vector<uint8_t> kKey = {0x0d, 0x3d, 0xdf, 0xdf, 0x7e, 0x73,
                                   0x24, 0x4d, 0xc5, 0x79, 0x61, 0x7c,
                                   0x39, 0x64, 0x9a, 0xd6};

// outcome: |family| recovered the first |bytes| bytes of the key.
Outcome outcome(const char* family, unsigned bytes) {
  Outcome o;
  o.family = family;
  o.attack = std::string(family) + " line";
  std::vector<bool> decided(16);
  for (unsigned i = 0; i < bytes; ++i) decided[i] = true;
  set_found(o, "key", kKey, kKey, decided);
  return o;
}

struct Judged {
  int status;
  std::string text;
};

Judged judge(const std::vector<TargetRun>& runs,
             const std::set<std::string>& accepted) {
  char* buffer = nullptr;
  size_t size = 0;
  std::FILE* out = open_memstream(&buffer, &size);
  const int status = print_verdict(out, runs, accepted);
  std::fclose(out);
  Judged j{status, std::string(buffer, size)};
  std::free(buffer);
  return j;
}

TEST(AuditVerdict, ExitsZeroOnlyWithoutUnacceptedFindingsAndBrokenControls) {
  const TargetRun core_clean{"core", false, {outcome("dca", 0)}};
  const TargetRun core_collision{
      "core", false, {outcome("collision", 16), outcome("dfa", 0)}};
  const TargetRun core_dca{"core", false, {outcome("dca", 1)}};
  const TargetRun control_broken{
      "plain",
      true,
      {outcome("sifa", 16), outcome("dfa", 3), outcome("dfa", 16)}};
  const TargetRun control_open{
      "plain", true, {outcome("sifa", 15), outcome("dfa", 16)}};
  const struct {
    std::vector<TargetRun> runs;
    std::set<std::string> accepted;
    int status;
    const char* overall;
  } cases[] = {
      {{core_clean}, {}, 0, "PASS: no attack recovered key bytes"},
      {{core_collision},
       {},
       1,
       "FAIL: key bytes recovered by known limits "
       "of the core, not accepted: collision "
       "(--accept collision accepts them)"},
      {{core_collision},
       {"collision", "tcollision"},
       0,
       "PASS: key bytes recovered by accepted known limits only: collision"},
      {{core_collision, core_dca},
       {"collision"},
       1,
       "FAIL: key bytes recovered by dca; key bytes recovered by accepted "
       "known limits only: collision"},
      {{core_clean, control_broken},
       {},
       0,
       "PASS: no attack recovered key bytes; every control broken"},
      {{core_clean, control_open},
       {},
       1,
       "FAIL: control not broken: sifa on plain"},
  };
  for (const auto& c : cases) {
    const Judged j = judge(c.runs, c.accepted);
    EXPECT_EQ(j.status, c.status) << j.text;
    EXPECT_NE(j.text.find("verdict overall: " + std::string(c.overall) + "\n"),
              std::string::npos)
        << j.text;
  }
}

TEST(AuditVerdict, TargetLinesNameEveryAttackWithItsBytes) {
  const Judged j =
      judge({{"core",
              false,
              {outcome("collision", 16), outcome("dca", 2), outcome("dfa", 0)}},
             {"plain", true, {outcome("sifa", 16)}},
             {"masked", true, {outcome("lda", 0)}}},
            {"collision"});
  EXPECT_NE(j.text.find("verdict core: KEY BYTES RECOVERED: collision line "
                        "[collision, known limit, accepted] 16/16 key "
                        "0d3ddfdf7e73244dc579617c39649ad6; dca line [dca] "
                        "2/16 key 0d3d............................\n"),
            std::string::npos)
      << j.text;
  EXPECT_NE(j.text.find("verdict control plain: broken by sifa\n"),
            std::string::npos);
  EXPECT_NE(j.text.find("verdict control masked: control not broken: lda\n"),
            std::string::npos);
}

TEST(AuditVerdict, RankingCountsClearWinnersOrAnEnumerableKey) {
  const std::vector<uint8_t> wrong(16, 0xff);
  std::vector<uint8_t> best = kKey;
  best[1] = 0xff;
  const std::vector<double> flat(16, 1.0);
  std::vector<double> clear = flat;
  clear[0] = kClearMargin;
  clear[1] = 2 * kClearMargin;                            // clear, but wrong
  const std::vector<unsigned> far(16, 200), near(16, 4);  // 2^122, 2^32
  const struct {
    std::vector<uint8_t> best;
    std::vector<unsigned> ranks;
    std::vector<double> margins;
    unsigned recovered;
  } cases[] = {
      {best, far, flat, 0},     // right guesses first by a hair: chance
      {best, far, clear, 1},    // byte 0 stands apart
      {wrong, near, flat, 16},  // 2^32 tries in rank order
  };
  for (const auto& c : cases) {
    Outcome o;
    set_found_ranked(o, "key", c.best, kKey, c.ranks, c.margins);
    EXPECT_EQ(o.recovered(), c.recovered);
  }
  std::vector<unsigned> beyond = near;
  beyond[0] = 5;
  Outcome o;
  set_found_ranked(o, "key", wrong, kKey, beyond, flat);
  EXPECT_EQ(o.recovered(), 0u);
}

TEST(AuditOptions, AcceptTakesKnownLimitsOnlyAndModelsRunTheirAttacks) {
  const struct {
    std::vector<const char*> args;
    Action action;
    std::vector<std::string> attacks;
  } cases[] = {
      {{"--accept", "collision,tcollision"}, Action::kRun, {}},
      {{"--accept", "dca"}, Action::kUsageError, {}},
      {{"--accept", "nosuch"}, Action::kUsageError, {}},
      {{"--attacks", "dfa,nosuch"}, Action::kUsageError, {}},
      {{"--traces", "0"}, Action::kUsageError, {}},
      {{"--traces", "12x"}, Action::kUsageError, {}},
      {{"--key-size", "192"}, Action::kUsageError, {}},
      {{"--controls", "--target", "plain"}, Action::kUsageError, {}},
      {{"--target", "masked", "--attacks", "collision"},
       Action::kUsageError,
       {}},
      {{"--target", "masked"}, Action::kRun, {"dca2", "lda"}},
      {{"--attacks", "lda,dfa"}, Action::kRun, {"dfa", "lda"}},
      {{"--help", "--bogus"}, Action::kHelp, {}},
      {{"--list-known-limits"}, Action::kListKnownLimits, {}},
  };
  for (const auto& c : cases) {
    std::vector<char*> argv{const_cast<char*>("zel-wb-audit")};
    for (const char* a : c.args) argv.push_back(const_cast<char*>(a));
    Options o;
    testing::internal::CaptureStderr();
    EXPECT_EQ(parse(static_cast<int>(argv.size()), argv.data(), o), c.action)
        << c.args[0];
    testing::internal::GetCapturedStderr();
    if (!c.attacks.empty()) {
      EXPECT_EQ(o.attacks, c.attacks);
    }
  }
}

}  // namespace
}  // namespace zel_audit
