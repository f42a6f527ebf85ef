// trace_hook.cpp: see trace_hook.h; also defines the hook the traced core
// calls.
#include "trace_hook.h"

#include <utility>

#include "wb_trace.h"

namespace zel_audit {
namespace {
TraceRecorder* active_recorder = nullptr;
TimedFault* active_fault = nullptr;
}  // namespace

TraceRecorder::TraceRecorder() : by_layer_(16) { active_recorder = this; }
TraceRecorder::~TraceRecorder() { active_recorder = nullptr; }

void TraceRecorder::clear() {
  for (auto& layer : by_layer_) layer.clear();
}

std::vector<uint8_t> TraceRecorder::window(unsigned first,
                                           unsigned last) const {
  std::vector<uint8_t> out;
  for (unsigned l = first; l <= last && l < by_layer_.size(); ++l)
    out.insert(out.end(), by_layer_[l].begin(), by_layer_[l].end());
  return out;
}

void TraceRecorder::record(unsigned layer, uint32_t value, unsigned bytes) {
  if (layer >= by_layer_.size()) return;
  for (unsigned b = 0; b < bytes; ++b)
    by_layer_[layer].push_back(static_cast<uint8_t>(value >> (8 * b)));
}

TimedFault::TimedFault(uint8_t* target, std::vector<uint8_t> mask, int layer)
    : target_(target), mask_(std::move(mask)), layer_(layer) {}

TimedFault::~TimedFault() { disarm(); }

void TimedFault::flip() {
  for (size_t i = 0; i < mask_.size(); ++i) target_[i] ^= mask_[i];
}

void TimedFault::arm() {
  armed_ = true;
  fired_ = false;
  active_fault = this;
  if (layer_ < 0) {
    flip();
    fired_ = true;
  }
}

void TimedFault::disarm() {
  if (fired_) flip();
  fired_ = false;
  armed_ = false;
  if (active_fault == this) active_fault = nullptr;
}

void TimedFault::on_lookup(unsigned layer) {
  if (armed_ && !fired_ && static_cast<int>(layer) == layer_) {
    flip();
    fired_ = true;
  }
}

}  // namespace zel_audit

namespace zel_whitebox {
void trace_lookup(unsigned layer, uint32_t value, unsigned bytes) {
  if (zel_audit::active_fault != nullptr)
    zel_audit::active_fault->on_lookup(layer);
  if (zel_audit::active_recorder != nullptr)
    zel_audit::active_recorder->record(layer, value, bytes);
}
}  // namespace zel_whitebox
