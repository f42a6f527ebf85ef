#include "hex.h"

#include <stdexcept>

namespace {

int NibbleValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

Bytes HexToBytes(const std::string& hex) {
  if (hex.size() % 2 != 0)
    throw std::invalid_argument("odd-length hex: " + hex);
  Bytes bytes;
  bytes.reserve(hex.size() / 2);
  for (size_t i = 0; i < hex.size(); i += 2) {
    const int high = NibbleValue(hex[i]);
    const int low = NibbleValue(hex[i + 1]);
    if (high < 0 || low < 0) throw std::invalid_argument("bad hex: " + hex);
    bytes.push_back(static_cast<uint8_t>(high << 4 | low));
  }
  return bytes;
}

std::string BytesToHex(const Bytes& bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(bytes.size() * 2);
  for (uint8_t byte : bytes) {
    hex.push_back(kDigits[byte >> 4]);
    hex.push_back(kDigits[byte & 0xf]);
  }
  return hex;
}
