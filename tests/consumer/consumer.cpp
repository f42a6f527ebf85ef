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
  const bool works = out.ToString() == "certificate" && PKIWB_encrypt::get_padded_payload_size(17) == 32;
  std::puts(works ? "consumer: installed library works" : "consumer: installed library broken");
  return works ? 0 : 1;
}
