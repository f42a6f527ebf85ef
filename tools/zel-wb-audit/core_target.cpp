// core_target.cpp: see core_target.h.
#include "core_target.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cipher_steps.h"
#include "wb_core.h"

extern "C" {
extern uint8_t __start_zel_wb_tables[];
extern uint8_t __stop_zel_wb_tables[];
}

namespace zel_audit {

Region table_section() {
  static Region region = [] {
    Region r{__start_zel_wb_tables,
             static_cast<size_t>(__stop_zel_wb_tables - __start_zel_wb_tables)};
    const uintptr_t page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t start = reinterpret_cast<uintptr_t>(r.base) & ~(page - 1);
    const uintptr_t end = reinterpret_cast<uintptr_t>(r.base) + r.size;
    if (mprotect(reinterpret_cast<void*>(start), end - start,
                 PROT_READ | PROT_WRITE) != 0) {
      std::perror("zel-wb-audit: mprotect of the table section");
      std::exit(2);  // the audit cannot run: not a finding
    }
    return r;
  }();
  return region;
}

namespace {

template <typename Core>
class CoreTarget : public Target {
 public:
  explicit CoreTarget(const std::vector<uint8_t>& key) : key_(key) {
    state_.work =
        static_cast<typename Core::Work*>(std::malloc(Core::work_size()));
    state_.aux = 0;
    if (state_.work == nullptr) std::abort();
    reset();
  }
  ~CoreTarget() override {
    std::memset(state_.work, 0, Core::work_size());
    std::free(state_.work);
  }
  std::string name() const override { return Core::name(); }
  unsigned key_len() const override {
    return static_cast<unsigned>(key_.size());
  }
  bool decrypts() const override { return Core::kDecrypts; }
  void reset() override {
    Core::key_setup(state_, key_.data(), key_len());
    std::memset(chain_, 0, 16);  // the key-only setups start from zero
  }
  void run(const uint8_t* in, uint8_t* out) override {
    Core::block(state_, key_len(), chain_, in, out);
  }
  Region tables() override { return table_section(); }
  // The core's own part of the working block: after the fields the
  // wrapper writes (faulting their pointers would only crash the run).
  Region work() override {
    const size_t head = sizeof(typename Core::Work);
    return {reinterpret_cast<uint8_t*>(state_.work) + head,
            Core::work_size() - head};
  }

 private:
  std::vector<uint8_t> key_;
  typename Core::State state_;
  uint8_t chain_[16];
};

struct Encryptor {
  using State = wb_enc::WbCoreState;
  using Work = wb_enc::WbCoreWork;
  static constexpr bool kDecrypts = false;
  static const char* name() { return "white-box encryptor core"; }
  static size_t work_size() { return wb_enc::wb_work_size; }
  // The key-only setup, loaded as the cipher wrappers load it.
  static void key_setup(State& s, const uint8_t* key, unsigned len) {
    static const zel_wb::CoreKeySetups<State> setups = {
        wb_enc::wb_key_setup_128, wb_enc::wb_key_setup_256,
        wb_enc::wb_key_iv_setup_128, wb_enc::wb_key_iv_setup_256};
    static const uint8_t unused_iv[16] = {};
    zel_wb::LoadKey(s, len, key, false, unused_iv, setups);
  }
  static void block(State& s, unsigned len, uint8_t chain[16],
                    const uint8_t* in, uint8_t* out) {
    uint8_t white[16];
    for (unsigned i = 0; i < 16; ++i)
      white[i] = wb_enc::wb_input_encoding[in[i] ^ chain[i]];
    if (len == 16) {
      s.work->cbc_encrypt_128 = {white, 16, out};
      wb_enc::wb_cbc_encrypt_128(s);
    } else {
      s.work->cbc_encrypt_256 = {white, 16, out};
      wb_enc::wb_cbc_encrypt_256(s);
    }
    std::memcpy(chain, out, 16);
  }
};

struct Decryptor {
  using State = wb_dec::WbCoreState;
  using Work = wb_dec::WbCoreWork;
  static constexpr bool kDecrypts = true;
  static const char* name() { return "white-box decryptor core"; }
  static size_t work_size() { return wb_dec::wb_work_size; }
  // The key-only setup, loaded as the cipher wrappers load it.
  static void key_setup(State& s, const uint8_t* key, unsigned len) {
    static const zel_wb::CoreKeySetups<State> setups = {
        wb_dec::wb_key_setup_128, wb_dec::wb_key_setup_256,
        wb_dec::wb_key_iv_setup_128, wb_dec::wb_key_iv_setup_256};
    static const uint8_t unused_iv[16] = {};
    zel_wb::LoadKey(s, len, key, false, unused_iv, setups);
  }
  static void block(State& s, unsigned len, uint8_t chain[16],
                    const uint8_t* in, uint8_t* out) {
    uint8_t yellow[16];
    if (len == 16) {
      s.work->cbc_decrypt_128 = {in, 16, yellow};
      wb_dec::wb_cbc_decrypt_128(s);
    } else {
      s.work->cbc_decrypt_256 = {in, 16, yellow};
      wb_dec::wb_cbc_decrypt_256(s);
    }
    for (unsigned i = 0; i < 16; ++i)
      out[i] = wb_dec::wb_output_decoding[yellow[i]] ^ chain[i];
    std::memcpy(chain, in, 16);
  }
};

}  // namespace

std::unique_ptr<Target> make_core_target(bool decryptor,
                                         const std::vector<uint8_t>& key) {
  if (decryptor) return std::make_unique<CoreTarget<Decryptor>>(key);
  return std::make_unique<CoreTarget<Encryptor>>(key);
}

}  // namespace zel_audit
