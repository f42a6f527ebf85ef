// lookup_recorder.h: collects the look-up outputs of the traced white-box
// core (zel_wb_core_whitebox_traced, see whitebox/runtime/wb_trace.h).
//
// A LookupRecorder, while it exists, receives every traced look-up of the
// process and keeps its bytes by layer (AES round), so that a DCA can take
// the window of the round it aims at.
#ifndef ZEL_TESTS_ATTACKS_LOOKUP_RECORDER_H
#define ZEL_TESTS_ATTACKS_LOOKUP_RECORDER_H

#include <cstdint>
#include <vector>

class LookupRecorder {
 public:
  LookupRecorder();
  ~LookupRecorder();
  LookupRecorder(const LookupRecorder&) = delete;
  LookupRecorder& operator=(const LookupRecorder&) = delete;

  // window returns the bytes of layers first..last recorded since clear.
  std::vector<uint8_t> window(unsigned first, unsigned last) const;
  void clear();

  void record(unsigned layer, uint32_t value, unsigned bytes);

 private:
  std::vector<std::vector<uint8_t>> by_layer_;
};

#endif  // ZEL_TESTS_ATTACKS_LOOKUP_RECORDER_H
