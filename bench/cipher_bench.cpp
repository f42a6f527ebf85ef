// Throughput of encrypt_payload and decrypt_payload (key and IV overloads)
// beside OpenSSL's AES-CBC on the same payloads.
//
// Names: Encrypt/<core>/<key bits>/<payload bytes> and
// Decrypt/<core>/<key bits>/<payload bytes>, where <core> is the library's
// AES core (ZEL_WB_CORE) or "openssl". Bytes per second count payload
// (plaintext) bytes in both directions. Each call sets up the key, as the
// library's calls do, so OpenSSL is keyed per call as well.
//
// The minimum time per benchmark defaults to 0.2 s (the reference core is
// slow by design); --benchmark_min_time overrides it.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "PKIWB_decrypt.h"
#include "PKIWB_encrypt.h"
#include "test_keys.h"

#ifdef ZEL_WB_TABLE_BYTES
#include "wb_core.h"
#include "wb_tables.h"
#endif

namespace {

using Bytes = std::vector<uint8_t>;

constexpr unsigned kKeyBits[] = {128, 256};
constexpr unsigned kPayloadBytes[] = {64, 4096, 1u << 20};

// Inputs is one benchmark's fixed key, IV and payload; its plaintext is
// not all one byte, so no core can profit from repetition.
struct Inputs {
  Bytes key;  // raw AES key
  Bytes iv;
  Bytes plain;

  Inputs(unsigned key_bits, unsigned payload_bytes)
      : key(key_bits / 8), iv(16), plain(payload_bytes) {
    uint32_t x = key_bits * 2654435761u + payload_bytes;
    for (Bytes* bytes : {&key, &iv, &plain})
      for (uint8_t& byte : *bytes) {
        x = x * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>(x >> 24);
      }
  }

  unsigned size() const { return static_cast<unsigned>(plain.size()); }
  unsigned padded_size() const {
    return PKIWB_encrypt::get_padded_payload_size(size());
  }
};

using CipherContext =
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

const EVP_CIPHER* OpenSslCipher(const Bytes& key) {
  return key.size() == 16 ? EVP_aes_128_cbc() : EVP_aes_256_cbc();
}

// OpenSslCbc runs one whole CBC operation with PKCS#7 padding and returns
// the bytes written, or -1 when OpenSSL refuses.
int OpenSslCbc(EVP_CIPHER_CTX* context, bool encrypt, const Bytes& key,
               const Bytes& iv, const uint8_t* in, int in_size, uint8_t* out) {
  int written = 0;
  int final_written = 0;
  if (EVP_CipherInit_ex(context, OpenSslCipher(key), nullptr, key.data(),
                        iv.data(), encrypt ? 1 : 0) != 1 ||
      EVP_CipherUpdate(context, out, &written, in, in_size) != 1 ||
      EVP_CipherFinal_ex(context, out + written, &final_written) != 1)
    return -1;
  return written + final_written;
}

void Finish(benchmark::State& state, const Inputs& inputs) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          inputs.size());
}

// The library's benchmarks make one call before timing, so that a refused
// call is reported instead of ending the run.
void LibraryEncrypt(benchmark::State& state, unsigned key_bits,
                    unsigned payload_bytes) {
  const Inputs inputs(key_bits, payload_bytes);
  const Bytes key = CoreKeyForm(inputs.key);
  PKIWB_encrypt encryptor(key_bits / 8);
  Bytes out(inputs.padded_size());
  try {
    encryptor.encrypt_payload(key.data(), inputs.iv.data(), inputs.plain.data(),
                              inputs.size(), out.data());
  } catch (const char* message) {
    state.SkipWithError(message);
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(encryptor.encrypt_payload(
        key.data(), inputs.iv.data(), inputs.plain.data(), inputs.size(),
        out.data()));
    benchmark::ClobberMemory();
  }
  Finish(state, inputs);
}

void LibraryDecrypt(benchmark::State& state, unsigned key_bits,
                    unsigned payload_bytes) {
  const Inputs inputs(key_bits, payload_bytes);
  const Bytes key = CoreKeyForm(inputs.key);
  Bytes black(inputs.padded_size());
  PKIWB_decrypt decryptor(key_bits / 8);
  Bytes out(black.size());
  try {
    PKIWB_encrypt(key_bits / 8)
        .encrypt_payload(key.data(), inputs.iv.data(), inputs.plain.data(),
                         inputs.size(), black.data());
    decryptor.decrypt_payload(key.data(), inputs.iv.data(), black.data(),
                              static_cast<unsigned>(black.size()), out.data());
  } catch (const char* message) {
    state.SkipWithError(message);
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(decryptor.decrypt_payload(
        key.data(), inputs.iv.data(), black.data(),
        static_cast<unsigned>(black.size()), out.data()));
    benchmark::ClobberMemory();
  }
  Finish(state, inputs);
}

void OpenSslEncrypt(benchmark::State& state, unsigned key_bits,
                    unsigned payload_bytes) {
  const Inputs inputs(key_bits, payload_bytes);
  CipherContext context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  Bytes out(inputs.padded_size());
  for (auto _ : state) {
    if (OpenSslCbc(context.get(), true, inputs.key, inputs.iv,
                   inputs.plain.data(), static_cast<int>(inputs.size()),
                   out.data()) < 0) {
      state.SkipWithError("OpenSSL encryption failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  Finish(state, inputs);
}

void OpenSslDecrypt(benchmark::State& state, unsigned key_bits,
                    unsigned payload_bytes) {
  const Inputs inputs(key_bits, payload_bytes);
  CipherContext context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  Bytes black(inputs.padded_size());
  const int black_size =
      OpenSslCbc(context.get(), true, inputs.key, inputs.iv,
                 inputs.plain.data(), static_cast<int>(inputs.size()),
                 black.data());
  Bytes out(black.size());
  for (auto _ : state) {
    if (black_size < 0 ||
        OpenSslCbc(context.get(), false, inputs.key, inputs.iv, black.data(),
                   black_size, out.data()) < 0) {
      state.SkipWithError("OpenSSL decryption failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  Finish(state, inputs);
}

void RegisterAll() {
  using Body = void (*)(benchmark::State&, unsigned, unsigned);
  const struct {
    const char* direction;
    const char* core;
    Body body;
  } kKinds[] = {
      {"Encrypt", ZEL_WB_CORE_NAME, LibraryEncrypt},
      {"Encrypt", "openssl", OpenSslEncrypt},
      {"Decrypt", ZEL_WB_CORE_NAME, LibraryDecrypt},
      {"Decrypt", "openssl", OpenSslDecrypt},
  };
  for (const auto& kind : kKinds)
    for (unsigned key_bits : kKeyBits)
      for (unsigned payload_bytes : kPayloadBytes) {
        const std::string name = std::string(kind.direction) + "/" +
                                 kind.core + "/" + std::to_string(key_bits) +
                                 "/" + std::to_string(payload_bytes);
        benchmark::RegisterBenchmark(name.c_str(), kind.body, key_bits,
                                     payload_bytes)
            ->Unit(benchmark::kMicrosecond);
      }
}

// KeySetup/<core>/<keybits>/<new|same>: one key-and-IV setup of an
// encryptor and of a decryptor, the work every encrypt_payload and
// decrypt_payload starts with. "new" alternates two keys, so every setup
// builds the keyed tables; "same" sets up the key the objects hold, as
// loading a keychain does for every item after the first.
void KeySetup(benchmark::State& state, unsigned key_bits, bool same) {
  const Bytes keys[2] = {CoreKeyForm(Bytes(key_bits / 8, 0x2b)),
                         CoreKeyForm(Bytes(key_bits / 8, 0x7e))};
  const Bytes iv(16, 0x01);
  PKIWB_encrypt encryptor(key_bits / 8);
  PKIWB_decrypt decryptor(key_bits / 8);
  unsigned n = 0;
  for (auto _ : state) {
    const Bytes& key = keys[same ? 0 : (n++ & 1)];
    encryptor.aes_init(key.data(), iv.data());
    decryptor.aes_init(key.data(), iv.data());
  }
}

void RegisterKeySetup() {
  for (unsigned key_bits : {128u, 256u})
    for (bool same : {false, true}) {
      const std::string name = std::string("KeySetup/") + ZEL_WB_CORE_NAME +
                               "/" + std::to_string(key_bits) +
                               (same ? "/same" : "/new");
      benchmark::RegisterBenchmark(name.c_str(), KeySetup, key_bits, same)
          ->Unit(benchmark::kMicrosecond);
    }
}

}  // namespace

int main(int argc, char** argv) {
  // The default goes first, so that a --benchmark_min_time given on the
  // command line, parsed later, wins.
  std::vector<char*> args(argv, argv + argc);
  char default_min_time[] = "--benchmark_min_time=0.2";
  args.insert(args.begin() + 1, default_min_time);
  int arg_count = static_cast<int>(args.size());
  benchmark::Initialize(&arg_count, args.data());
  if (benchmark::ReportUnrecognizedArguments(arg_count, args.data())) return 1;
  RegisterAll();
  RegisterKeySetup();
#ifdef ZEL_WB_TABLE_BYTES
  // The static tables of both cores, both key sizes, as the library holds
  // them.
  benchmark::AddCustomContext("whitebox_static_table_bytes",
                              std::to_string(zel_wb::wb_generated_table_bytes));
  // The working block each cipher object allocates.
  benchmark::AddCustomContext("whitebox_encryptor_work_bytes",
                              std::to_string(wb_enc::wb_work_size));
  benchmark::AddCustomContext("whitebox_decryptor_work_bytes",
                              std::to_string(wb_dec::wb_work_size));
#endif
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
