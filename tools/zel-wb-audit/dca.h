// dca.h: first-order differential computation analysis (DCA) of software
// traces, after Bos, Hubain, Michiels and Teuwen (CHES 2016).
//
// A trace is the sequence of bytes a run produced (look-up outputs, or
// intermediate states), taken bit by bit. For each key byte position i and
// each guess k, the attack predicts the bits of F(known[i] ^ k), where F is
// the S-box (first round, known = plaintext) or the inverse S-box (last
// round, known = ciphertext), and scores the guess by the largest absolute
// Pearson correlation between any predicted bit and any trace bit. The
// correct guess ranks first when the traces leak.
//
// A second ranking looks for too little correlation: encodings picked so
// that no single output bit correlates with the encoded byte leave the
// correct guess with sampling noise only, where wrong guesses keep a
// residual correlation. Per trace bit, the summed squared correlations of
// all guesses are turned into z-scores against the other guesses; the
// bits whose average clearly exceeds sampling noise are kept (at most 64,
// the strongest), and the guess with the lowest total z ranks first.
//
// Traces are folded into per-position counts as they arrive (memory does
// not grow with their number); the correlations for all 256 guesses come
// from XOR-convolutions done with the Walsh-Hadamard transform.
#ifndef ZEL_WB_AUDIT_DCA_H
#define ZEL_WB_AUDIT_DCA_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zel_audit {

// The predicted value: S(known ^ k) or InvS(known ^ k).
enum class DcaTarget { kSbox, kInverseSbox };

struct KeyByteRanking {
  unsigned rank_high;  // 1 = the correct guess correlated most
  unsigned rank_low;   // 1 = the correct guess correlated least (z-score)
  uint8_t best_high;
  uint8_t best_low;
  double score_high;  // the highest guess's correlation
  // How far the best guess stands from the runner-up, in standard
  // deviations of the 256 guesses' scores (highest and lowest ranking).
  double margin_high;
  double margin_low;
};

class Dca {
 public:
  Dca(DcaTarget target, size_t trace_bytes);

  // add folds one trace in; |known| is the run's 16-byte plaintext or
  // ciphertext, |trace| holds trace_bytes bytes.
  void add(const uint8_t known[16], const uint8_t* trace);

  size_t traces() const { return traces_; }

  // rank scores all guesses for key byte |position| and ranks |correct|.
  KeyByteRanking rank(unsigned position, uint8_t correct) const;

 private:
  DcaTarget target_;
  size_t trace_bits_;
  size_t traces_ = 0;
  // ones_[(position * 256 + value) * trace_bits_ + bit]: how many traces
  // with known[position] == value had |bit| set.
  std::vector<uint32_t> ones_;
  std::vector<uint32_t> seen_;  // [position * 256 + value]
  std::vector<uint8_t> bits_;   // scratch: the current trace, one per bit
};

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_DCA_H
