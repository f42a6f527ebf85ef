// lookup_recorder.cpp: see lookup_recorder.h; also the trace hook that the
// traced core calls.
#include "lookup_recorder.h"

#include "wb_trace.h"

namespace {
LookupRecorder* active_recorder = nullptr;
}  // namespace

namespace zel_whitebox {
void trace_lookup(unsigned layer, uint32_t value, unsigned bytes) {
  if (active_recorder != nullptr) active_recorder->record(layer, value, bytes);
}
}  // namespace zel_whitebox

LookupRecorder::LookupRecorder() : by_layer_(16) { active_recorder = this; }

LookupRecorder::~LookupRecorder() { active_recorder = nullptr; }

std::vector<uint8_t> LookupRecorder::window(unsigned first,
                                            unsigned last) const {
  std::vector<uint8_t> out;
  for (unsigned l = first; l <= last && l < by_layer_.size(); ++l)
    out.insert(out.end(), by_layer_[l].begin(), by_layer_[l].end());
  return out;
}

void LookupRecorder::clear() {
  for (auto& layer : by_layer_) layer.clear();
}

void LookupRecorder::record(unsigned layer, uint32_t value, unsigned bytes) {
  if (layer >= by_layer_.size()) return;
  for (unsigned b = 0; b < bytes; ++b)
    by_layer_[layer].push_back(static_cast<uint8_t>(value >> (8 * b)));
}
