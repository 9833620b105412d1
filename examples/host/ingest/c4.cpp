#include "examples/host/ingest/c4.h"

#include <string_view>

namespace host::ingest {
namespace {

constexpr std::string_view kDigits = "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
constexpr std::size_t kDigitCount = 88;  // Enough for 512 bits, whatever they are.

// Divides the number in place, most significant byte first; returns the remainder.
unsigned int divide(Sha512Digest& number, unsigned int divisor) {
  unsigned int remainder = 0;
  for (unsigned char& byte : number) {
    const unsigned int value = remainder << 8 | byte;
    byte = static_cast<unsigned char>(value / divisor);
    remainder = value % divisor;
  }
  return remainder;
}

}  // namespace

std::string c4_of(const Sha512Digest& digest) {
  Sha512Digest number = digest;
  std::string text = "c4" + std::string(kDigitCount, '1');
  for (std::size_t place = text.size(); place > 2; --place) {
    text[place - 1] = kDigits[divide(number, static_cast<unsigned int>(kDigits.size()))];
  }
  return text;
}

}  // namespace host::ingest
