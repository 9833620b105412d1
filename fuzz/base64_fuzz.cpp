// The base64 decoder against a second one that goes character by character.
//
// Input: one byte that shortens the target, then the text. Bytes of 0x80 and above are cut to seven
// bits: only those are defined. Bytes behind what was written must keep their values.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/text.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string naive_decode(const std::string& text) {
  std::string result;
  unsigned bits = 0;
  unsigned bit_count = 0;
  for (const char c : text) {
    if (c == '=') {
      break;
    }
    const char* place = c == '\0' ? nullptr : std::strchr(kAlphabet, c);
    bits = (bits << 6 | static_cast<unsigned>(place == nullptr ? 0 : place - kAlphabet)) & 0xFFFF;
    bit_count += 6;
    if (bit_count >= 8) {
      bit_count -= 8;
      result.push_back(static_cast<char>(bits >> bit_count));
    }
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  for (char& c : text) {
    c = static_cast<char>(c & 0x7F);
  }
  const std::string all = naive_decode(text);
  constexpr char kUntouched = 0x5A;
  const std::size_t cut = data[0];
  const std::size_t room = all.size() + 8 > cut ? all.size() + 8 - cut : 0;
  std::vector<char> target(room, kUntouched);

  const std::size_t written = ov_base64_decode(text.data(), text.size(), target.data(), room);

  if (written != std::min(room, all.size()) ||
      !std::equal(target.begin(), target.begin() + static_cast<std::ptrdiff_t>(written),
                  all.begin())) {
    std::abort();
  }
  for (std::size_t i = written; i < room; ++i) {
    if (target[i] != kUntouched) {
      std::abort();
    }
  }
  return 0;
}
