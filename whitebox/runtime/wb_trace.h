// wb_trace.h: the look-up trace hook of the white-box core, for the audit
// tool (tools/zel-wb-audit) only.
//
// The runtime passes every table look-up output through ZEL_WB_TRACE(layer,
// value). In the library it expands to the value itself and costs nothing.
// The audit compiles the runtime a second time with ZEL_WB_TRACE_HOOK
// defined and provides zel_whitebox::trace_lookup, which records the
// outputs of the layers it watches (|layer| is the AES round the look-up
// belongs to, 0 = first).
//
// WARNING: a traced build hands every intermediate value to outside code.
// It is linked only into the audit tool, never into the library.
#ifndef ZEL_WHITEBOX_RUNTIME_WB_TRACE_H
#define ZEL_WHITEBOX_RUNTIME_WB_TRACE_H

#include <cstdint>

#ifdef ZEL_WB_TRACE_HOOK
namespace zel_whitebox {
// trace_lookup receives one look-up output; |bytes| is its width (1 or 4).
void trace_lookup(unsigned layer, uint32_t value, unsigned bytes);
template <typename T>
inline T traced(unsigned layer, T value) {
  trace_lookup(layer, value, sizeof(T));
  return value;
}
}  // namespace zel_whitebox
#define ZEL_WB_TRACE(layer, value) ::zel_whitebox::traced((layer), (value))
#else
#define ZEL_WB_TRACE(layer, value) (static_cast<void>(layer), (value))
#endif

#endif  // ZEL_WHITEBOX_RUNTIME_WB_TRACE_H
