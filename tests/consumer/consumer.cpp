// consumer.cpp: uses the installed headers and libraries the way an
// application does, and fails loudly if anything is off.
#include <PKIWB_encrypt.h>
#include <TZelKeyChain.h>
#include <zelLogging.h>

#include <cstdio>

int main() {
  TZelKeyChain chain("consumer");
  chain.SetItem(TZelKeyChain::ITEM_TYPE_CERT, std::string("certificate"));
  THevoBlob out;
  chain.GetItem(TZelKeyChain::ITEM_TYPE_CERT, out);
  if (out.ToString() != "certificate") {
    std::puts("consumer: keychain round trip failed");
    return 1;
  }
  if (PKIWB_encrypt::get_padded_payload_size(17) != 32) {
    std::puts("consumer: cipher class not usable");
    return 1;
  }
  std::puts("consumer: installed library works");
  return 0;
}
