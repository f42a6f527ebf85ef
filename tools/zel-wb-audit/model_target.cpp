// model_target.cpp: see model_target.h.
#include "model_target.h"

#include <cstring>
#include <random>

#include "aes_reference.h"
#include "aes_util.h"
#include "encoded_schedule.h"
#include "uncorrelated_encoding.h"
#include "wb_trace.h"

namespace zel_audit {
namespace {

struct ModelWork {
  uint8_t round_key[15][16];
};

class ModelTarget : public Target {
 public:
  ModelTarget(ModelKind kind, bool decryptor, const std::vector<uint8_t>& key,
              const std::vector<uint8_t>& protected_key)
      : kind_(kind),
        decryptor_(decryptor),
        key_(key),
        protected_(protected_key) {
    if (kind_ == ModelKind::kSchedule)
      schedule_ = std::make_unique<EncodedSchedule>(key_, protected_);
    std::mt19937 draw(0xe4c0d);
    if (kind_ == ModelKind::kUncorrelated)
      for (ByteTable& e : encodings_) e = uncorrelated_encoding(draw);
    for (unsigned x = 0; x < 256; ++x)
      table_[x] = table_[256 + x] =
          decryptor_ ? zel_ref::aes_inv_sbox(static_cast<uint8_t>(x))
                     : zel_ref::aes_sbox(static_cast<uint8_t>(x));
    reset();
  }
  std::string name() const override {
    static const char* const kinds[] = {"plain", "masked", "duplicated",
                                        "uncorrelated", "key schedule"};
    return std::string("weak model (") + kinds[static_cast<int>(kind_)] +
           (decryptor_ ? " table AES, decryption)" : " table AES, encryption)");
  }
  unsigned key_len() const override {
    return static_cast<unsigned>(key_.size());
  }
  bool decrypts() const override { return decryptor_; }
  void reset() override {
    if (schedule_) return schedule_->expand(protected_, work_.round_key);
    zel_ref::AesKeySchedule schedule;
    zel_ref::aes_expand_key(key_.data(), key_len(), schedule);
    std::memcpy(work_.round_key, schedule.round_key, sizeof work_.round_key);
    zel_ref::aes_wipe(schedule);
  }
  void run(const uint8_t* in, uint8_t* out) override {
    mismatch_ = false;
    if (decryptor_)
      decrypt(in, out);
    else
      encrypt(in, out);
    if (mismatch_)
      for (unsigned i = 0; i < 16; ++i) out[i] = static_cast<uint8_t>(rng_());
  }
  Region tables() override {
    if (schedule_) return schedule_->tables();
    return {table_, kind_ == ModelKind::kDuplicated ? 512u : 256u};
  }
  Region work() override {
    return {reinterpret_cast<uint8_t*>(&work_), sizeof work_};
  }

 private:
  uint8_t sub(uint8_t x) {
    if (kind_ == ModelKind::kDuplicated)
      mismatch_ |= table_[x] != table_[256 + x];
    return table_[x];
  }
  // trace records v, the value at |slot| (0..31, see model_target.h).
  uint8_t trace(unsigned layer, unsigned slot, uint8_t v) {
    if (kind_ == ModelKind::kUncorrelated) {
      ZEL_WB_TRACE(layer, encodings_[slot][v]);
      return v;
    }
    if (kind_ != ModelKind::kMasked) return ZEL_WB_TRACE(layer, v);
    const uint8_t m = static_cast<uint8_t>(rng_());
    ZEL_WB_TRACE(layer, static_cast<uint8_t>(v ^ m));
    ZEL_WB_TRACE(layer, m);
    return v;
  }
  void encrypt(const uint8_t* in, uint8_t* out) {
    const unsigned rounds = key_len() / 4 + 6;
    uint8_t s[16];
    std::memcpy(s, in, 16);
    for (unsigned r = 1; r <= rounds; ++r) {
      uint8_t t[16];
      for (unsigned i = 0; i < 16; ++i)
        t[i] = trace(r - 1, i, sub(s[i] ^ work_.round_key[r - 1][i]));
      shift_rows(t);
      if (r < rounds) {
        mix_columns(t);
        for (unsigned i = 0; i < 16; ++i) s[i] = trace(r - 1, 16 + i, t[i]);
      } else {
        for (unsigned i = 0; i < 16; ++i)
          out[i] = trace(r - 1, 16 + i, t[i] ^ work_.round_key[r][i]);
      }
    }
  }
  // decrypt runs the equivalent inverse cipher in the same shape: layer l
  // undoes round rounds - l.
  void decrypt(const uint8_t* in, uint8_t* out) {
    const unsigned rounds = key_len() / 4 + 6;
    uint8_t s[16];
    for (unsigned i = 0; i < 16; ++i) s[i] = in[i] ^ work_.round_key[rounds][i];
    for (unsigned l = 0; l < rounds; ++l) {
      inv_shift_rows(s);
      uint8_t t[16];
      for (unsigned i = 0; i < 16; ++i)
        t[i] = trace(l, i, sub(s[i]) ^ work_.round_key[rounds - 1 - l][i]);
      if (l + 1 < rounds) {
        inv_mix_columns(t);
        for (unsigned i = 0; i < 16; ++i) s[i] = trace(l, 16 + i, t[i]);
      } else {
        std::memcpy(out, t, 16);
      }
    }
  }

  ModelKind kind_;
  bool decryptor_;
  std::vector<uint8_t> key_, protected_;
  std::unique_ptr<EncodedSchedule> schedule_;  // kSchedule
  std::array<ByteTable, 32> encodings_;        // kUncorrelated, by slot
  ModelWork work_;
  uint8_t table_[512];  // the S-box; a second copy for kDuplicated
  bool mismatch_ = false;
  std::mt19937 rng_{7};
};

}  // namespace

std::unique_ptr<Target> make_model_target(
    ModelKind kind, bool decryptor, const std::vector<uint8_t>& raw_key,
    const std::vector<uint8_t>& protected_key) {
  return std::make_unique<ModelTarget>(kind, decryptor, raw_key, protected_key);
}

}  // namespace zel_audit
