// decrypt_fuzz_target.cpp: arbitrary bytes as an item file's content, read
// in memory: the CBC decryption, the padding check and the plaintext blob.
// No file I/O per execution.
//
// Key setup once: the white-box key setup builds keyed tables and costs
// far more than decrypting a few KB, and it does not depend on the input.
// So the store's decryptor, keyed with the store key and IV, is set up once,
// and each execution restarts the CBC chain at the IV by decrypting the IV
// as a block: in CBC the next block is XORed with the last ciphertext block.
// Every 1024th execution (and each of the first 64, which covers a replay
// of the corpus) also reads the input through TZelSecureStore::Decrypt, the
// store's own path with its own key setup, which must agree.
//
// A "ASSERTION FAILED: " exception is the designed outcome for a malformed
// file, not a finding. Otherwise a broken rule aborts, which the fuzzer
// reports as a crash:
// - a plaintext is a whole-block input less 1 to 16 bytes of padding;
// - the store's path throws the same message, or returns true with a
//   plaintext of the same length, or false with an empty plaintext;
// - the whole blocks of that plaintext encrypt back to the input's first
//   blocks (a CBC ciphertext block depends only on the plaintext up to it).
// Crashes, leaks and undefined behaviour are the sanitizers' to report.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "PKIWB_decrypt.h"
#include "TZelSecureStore.h"
#include "key_material.h"

namespace {

void Require(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "broken rule: %s\n", rule);
  std::abort();
}

// Read decrypts |file| with the decryptor keyed once (or, |through_store|,
// with the store's Decrypt), leaving the plaintext in |plain|, and returns
// the exception's message, empty if none.
std::string Read(const THevoBlob& file, THevoBlob& plain, bool through_store) {
  static PKIWB_decrypt* decryptor = [] {
    const auto key_size = static_cast<unsigned>(_binary_egsk_bin_end - _binary_egsk_bin_start);
    PKIWB_decrypt* keyed = new PKIWB_decrypt(key_size);  // kept for the process's life
    keyed->aes_init(_binary_egsk_bin_start, _binary_uid_bin_start);
    return keyed;
  }();
  auto& out = plain.GetContainer();
  try {
    if (through_store) {
      Require(TZelSecureStore::GetInstance().Decrypt(file, plain) == !out.empty(),
              "false exactly when the plaintext is empty");
      return "";
    }
    unsigned char chain[16];
    decryptor->wb_cbc_decrypt(_binary_uid_bin_start, chain, sizeof chain);
    out.resize(file.GetContainer().size());
    out.resize(decryptor->wb_cbc_decrypt_pkcs7(file.GetContainer().data(), out.data(),
                                               static_cast<unsigned>(out.size())));
  } catch (const char* message) {
    Require(std::strncmp(message, "ASSERTION FAILED: ", 18) == 0,
            "the cipher throws assertion messages only");
    return message;
  }
  return "";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static unsigned long executions = 0;
  const THevoBlob file(std::string(reinterpret_cast<const char*>(data), size));
  THevoBlob fast, slow, again;
  const std::string thrown = Read(file, fast, false);
  const size_t plain_size = fast.GetContainer().size();
  Require(!thrown.empty() || (size % 16 == 0 && plain_size + 16 >= size && plain_size < size),
          "a plaintext is the input less 1 to 16 bytes of padding");
  if (++executions > 64 && executions % 1024 != 0) return 0;
  Require(Read(file, slow, true) == thrown &&
              (!thrown.empty() || slow.GetContainer().size() == plain_size),
          "the store's own path reads the same");
  const size_t whole = thrown.empty() ? plain_size / 16 * 16 : 0;
  Require(whole == 0 || (TZelSecureStore::GetInstance().Encrypt(slow, again) &&
                         std::memcmp(again.GetContainer().data(), data, whole) == 0),
          "the plaintext's whole blocks encrypt back to the input");
  return 0;
}
