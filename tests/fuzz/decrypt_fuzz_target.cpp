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

// Decrypted is what a reader made of the input.
struct Decrypted {
  std::string thrown;  // the exception's message, empty if none
  size_t plain_size = 0;
};

// FastRead decrypts |file| with a decryptor keyed once.
Decrypted FastRead(const THevoBlob& file) {
  static PKIWB_decrypt* decryptor = [] {
    const auto key_size = static_cast<unsigned>(_binary_egsk_bin_end - _binary_egsk_bin_start);
    PKIWB_decrypt* keyed = new PKIWB_decrypt(key_size);  // kept for the process's life
    keyed->aes_init(_binary_egsk_bin_start, _binary_uid_bin_start);
    return keyed;
  }();
  unsigned char chain[16];
  decryptor->wb_cbc_decrypt(_binary_uid_bin_start, chain, sizeof chain);
  const auto& in = file.GetContainer();
  THevoBlob plain;
  plain.GetContainer().resize(in.size());
  Decrypted result;
  try {
    result.plain_size = decryptor->wb_cbc_decrypt_pkcs7(
        in.data(), plain.GetContainer().data(), static_cast<unsigned>(in.size()));
  } catch (const char* message) {
    result.thrown = message;
  }
  return result;
}

// StoreRead decrypts |file| through the store, and checks that the
// plaintext encrypts back to the input.
Decrypted StoreRead(const THevoBlob& file) {
  TZelSecureStore& store = TZelSecureStore::GetInstance();
  THevoBlob plain, again;
  Decrypted result;
  try {
    Require(store.Decrypt(file, plain) == !plain.GetContainer().empty(),
            "false exactly when the plaintext is empty");
  } catch (const char* message) {
    result.thrown = message;
    return result;
  }
  result.plain_size = plain.GetContainer().size();
  const size_t whole = result.plain_size / 16 * 16;
  if (whole > 0) {
    Require(store.Encrypt(plain, again) &&
                std::memcmp(again.GetContainer().data(), file.GetContainer().data(), whole) == 0,
            "the plaintext's whole blocks encrypt back to the input");
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static unsigned long executions = 0;
  const THevoBlob file(std::string(reinterpret_cast<const char*>(data), size));
  const Decrypted fast = FastRead(file);
  Require(fast.thrown.empty() || fast.thrown.compare(0, 18, "ASSERTION FAILED: ") == 0,
          "the cipher throws assertion messages only");
  Require(!fast.thrown.empty() ||
              (size % 16 == 0 && fast.plain_size + 16 >= size && fast.plain_size < size),
          "a plaintext is the input less 1 to 16 bytes of padding");
  if (++executions <= 64 || executions % 1024 == 0) {
    const Decrypted slow = StoreRead(file);
    Require(slow.thrown == fast.thrown && slow.plain_size == fast.plain_size,
            "the store's own path reads the same");
  }
  return 0;
}
