// persistent_faults.cpp: persistent fault analysis (Zhang et al., CHES
// 2018), alone and with the same fault in every copy of the faulted table.
//
// One byte of the static tables is changed for good (the key setup then
// builds on it) and outputs are collected. A table that serves the last
// round of every byte position, with the key added after it, then never
// yields one value per position: out_j = T(y) ^ k_j misses T(v) ^ k_j for
// the faulted entry v. The missing value of every position, XORed with
// one common unknown byte, gives the last round key; the 256 candidates
// are checked on the target (AES-128; for AES-256 the candidates are
// reported only).
//
// Locations are random table bytes; a short pre-test (32 blocks) keeps
// those that make some output differ from the correct one in one byte.
// Copies: a 64-byte block of the section found byte for byte elsewhere is
// a copy; the fault goes into every copy at the same place, so that a
// comparison of the copies would see nothing.
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <unordered_map>

#include "aes_util.h"
#include "attacks.h"
#include "missing_values.h"

namespace zel_audit {
namespace {

// copies_of returns the offsets of every 64-byte block equal to the one
// holding |off| (itself included), shifted to |off|'s place in it.
std::vector<size_t> copies_of(
    const Region& r, size_t off,
    const std::unordered_multimap<std::string, size_t>& blocks) {
  const size_t base = off & ~size_t(63);
  if (base + 64 > r.size) return {off};
  const std::string key(reinterpret_cast<const char*>(r.base + base), 64);
  std::vector<size_t> out;
  auto range = blocks.equal_range(key);
  for (auto it = range.first; it != range.second; ++it)
    out.push_back(it->second + (off - base));
  if (out.empty()) out.push_back(off);
  return out;
}

}  // namespace

std::vector<uint8_t> key_from_missing_values(
    Target& target, const std::vector<std::array<unsigned, 256>>& count,
    const std::vector<uint8_t>& aim, const std::function<void()>& restore,
    const std::function<void()>& refault, std::string& detail) {
  std::vector<uint8_t> missing(16);
  for (unsigned i = 0; i < 16; ++i) {
    unsigned n = 0;
    for (unsigned v = 0; v < 256; ++v)
      if (count[i][v] == 0) missing[i] = static_cast<uint8_t>(v), ++n;
    if (n != 1) return {};
  }
  for (unsigned delta = 0; delta < 256; ++delta) {
    std::vector<uint8_t> last(16);
    for (unsigned i = 0; i < 16; ++i)
      last[i] = missing[i] ^ static_cast<uint8_t>(delta);
    if (target.key_len() == 32) {
      if (count_equal(last, aim) == 16) {
        detail = "last round key among 256 candidates";
        return last;
      }
      continue;
    }
    restore();  // the check needs the correct tables
    const auto key = target.decrypts()
                         ? last
                         : key_from_last_round_keys(16, nullptr, last.data());
    const bool works = key_works(target, key);
    refault();
    if (works) return key;
  }
  return {};
}

std::vector<Outcome> run_pfa(Target& target, const Settings& settings,
                             const std::vector<uint8_t>& raw_key,
                             bool all_copies) {
  const Region tables = target.tables();
  const auto truth = round_keys(raw_key);
  const std::vector<uint8_t>& aim =
      target.decrypts() ? truth[0] : truth[target.rounds()];
  // Index the 64-byte blocks that occur more than once (copies only).
  std::unordered_multimap<std::string, size_t> blocks;
  if (all_copies) {
    std::unordered_map<std::string, unsigned> seen;
    for (size_t b = 0; b + 64 <= tables.size; b += 64)
      ++seen[std::string(reinterpret_cast<const char*>(tables.base + b), 64)];
    for (size_t b = 0; b + 64 <= tables.size; b += 64) {
      std::string k(reinterpret_cast<const char*>(tables.base + b), 64);
      if (seen[k] > 1) blocks.emplace(std::move(k), b);
    }
  }
  const unsigned collect = settings.quick ? 2048 : 4096;
  const auto start = std::chrono::steady_clock::now();
  std::mt19937 rng(all_copies ? 11 : 7);
  unsigned injections = 0, outputs = 0;
  std::vector<uint8_t> found;
  std::string detail;
  std::vector<std::array<uint8_t, 16>> pre_in(32), pre_out(32);
  for (unsigned t = 0; t < 32; ++t) {
    random_block(pre_in[t].data());
    target.run(pre_in[t].data(), pre_out[t].data());
  }
  while (injections < settings.faults && found.empty()) {
    const size_t off = rng() % tables.size;
    const uint8_t flip = static_cast<uint8_t>(rng() | 1);
    const std::vector<size_t> where =
        all_copies ? copies_of(tables, off, blocks) : std::vector<size_t>{off};
    for (size_t w : where) tables.base[w] ^= flip;
    ++injections;
    target.reset();
    bool single = false;
    for (unsigned t = 0; t < 32 && !single; ++t) {
      uint8_t out[16];
      target.run(pre_in[t].data(), out);
      ++outputs;
      unsigned d = 0;
      for (unsigned i = 0; i < 16; ++i) d += out[i] != pre_out[t][i];
      single = d == 1;
    }
    if (single) {
      // Collect outputs; find the value each position never shows.
      std::vector<std::array<unsigned, 256>> count(16);
      for (auto& c : count) c.fill(0);
      for (unsigned t = 0; t < collect; ++t) {
        uint8_t in[16], out[16];
        random_block(in);
        target.run(in, out);
        ++outputs;
        for (unsigned i = 0; i < 16; ++i) ++count[i][out[i]];
      }
      const auto undo = [&] {
        for (size_t w : where) tables.base[w] ^= flip;
        target.reset();
      };
      found = key_from_missing_values(target, count, aim, undo, undo, detail);
    }
    for (size_t w : where) tables.base[w] ^= flip;
  }
  target.reset();
  Outcome o;
  o.family = all_copies ? "copies" : "pfa";
  o.attack = all_copies ? "PFA, the same fault in every copy"
                        : "PFA, persistent table faults";
  if (target.key_len() == 16)
    set_found(o, "key", found, raw_key);
  else  // AES-256: the last round key, among 256 candidates
    set_found(o, aim_name(target.decrypts() ? 0 : target.rounds(), 32), found,
              aim);
  o.cost = std::to_string(injections) + " faults, " + std::to_string(outputs) +
           " outputs";
  o.seconds = seconds_since(start);
  o.detail = detail;
  if (all_copies)
    o.detail += (o.detail.empty() ? "" : "; ") + std::to_string(blocks.size()) +
                " table blocks with copies";
  return {o};
}

}  // namespace zel_audit
