// trace_hook.h: the receiving end of the traced core's look-up hook
// (ZEL_WB_TRACE, whitebox/runtime/wb_trace.h), shared by trace capture and
// timed fault injection.
//
// While a TraceRecorder is active, every look-up output is appended to its
// byte trace, tagged with its layer (AES round, 0 = first). A TimedFault,
// while armed, fires once when the first look-up of its layer passes the
// hook: it XORs its mask into memory (a table or the working block), so the
// rest of the block runs on faulted data; disarm() restores the bytes.
//
// Not thread-safe: one process-wide hook, the audit runs single-threaded.
#ifndef ZEL_WB_AUDIT_TRACE_HOOK_H
#define ZEL_WB_AUDIT_TRACE_HOOK_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zel_audit {

class TraceRecorder {
 public:
  TraceRecorder();
  ~TraceRecorder();
  TraceRecorder(const TraceRecorder&) = delete;
  TraceRecorder& operator=(const TraceRecorder&) = delete;

  void clear();
  // window returns the bytes of layers first..last recorded since clear.
  std::vector<uint8_t> window(unsigned first, unsigned last) const;
  void record(unsigned layer, uint32_t value, unsigned bytes);

 private:
  std::vector<std::vector<uint8_t>> by_layer_;
};

// TimedFault XORs |mask| into |target| when the first look-up of |layer|
// is traced (layer < 0: at once, when armed).
class TimedFault {
 public:
  TimedFault(uint8_t* target, std::vector<uint8_t> mask, int layer);
  ~TimedFault();
  TimedFault(const TimedFault&) = delete;
  TimedFault& operator=(const TimedFault&) = delete;

  void arm();
  void disarm();  // restores the bytes if the fault fired
  void on_lookup(unsigned layer);
  bool fired() const { return fired_; }

 private:
  void flip();
  uint8_t* target_;
  std::vector<uint8_t> mask_;
  int layer_;
  bool armed_ = false;
  bool fired_ = false;
};

}  // namespace zel_audit

#endif  // ZEL_WB_AUDIT_TRACE_HOOK_H
