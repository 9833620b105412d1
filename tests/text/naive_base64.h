// Base64 decoded character by character, as the rule is told: what the decoder must agree with, and
// be faster than.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orsin::test {

inline constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The value of each character; 0 of those that have none.
[[nodiscard]] constexpr std::array<std::uint8_t, 256> base64_values() {
  std::array<std::uint8_t, 256> values = {};
  for (std::uint8_t i = 0; i < 64; ++i) {
    values[static_cast<unsigned char>(kBase64Alphabet[i])] = i;
  }
  return values;
}

/// @return How many of the bytes were written, `room` at the most.
inline std::size_t decode_base64_naively(std::string_view text, char* bytes, std::size_t room) {
  constexpr std::array<std::uint8_t, 256> kValues = base64_values();
  std::uint32_t group = 0;
  std::size_t characters = 0;
  std::size_t written = 0;
  const auto emit = [&](std::size_t count) {
    for (std::size_t i = 0; i < count && written < room; ++i) {
      bytes[written++] = static_cast<char>(group >> (16 - 8 * i));
    }
  };
  for (const char c : text) {
    if (c == '=') {
      break;
    }
    group |= std::uint32_t{kValues[static_cast<unsigned char>(c)]} << (18 - 6 * characters);
    if (++characters == 4) {
      emit(3);
      group = 0;
      characters = 0;
    }
  }
  if (characters >= 2) {
    emit(characters - 1);
  }
  return written;
}

}  // namespace orsin::test
