// Single code points in UTF-8 and UTF-16, the rules that every text function shares.
//
// Reading UTF-8, with b0 the byte at the position and c a continuation byte (10xxxxxx):
//
//   0xxxxxxx           the byte itself
//   110xxxxx c         at least U+0080
//   1110xxxx c c       at least U+0800; surrogate values are accepted
//   11110xxx c c c     U+10000 to U+10FFFF
//   anything else      b0 as Latin-1, one byte
//
// A NUL is never a continuation byte, so decoding never reads past the end of a string.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace orsin {

struct CodePoint {
  int value = 0;
  int length = 1;        // Bytes or units read.
  bool is_valid = true;  // False: an undecodable byte, read as Latin-1.
};

[[nodiscard]] constexpr bool is_continuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

[[nodiscard]] inline CodePoint decode_utf8(const char* text) {
  const auto byte = [text](int i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char b0 = byte(0);
  if (b0 < 0x80) {
    return {b0, 1, true};
  }
  if ((b0 & 0xE0) == 0xC0) {
    if (is_continuation(byte(1))) {
      const int value = (b0 & 0x1F) << 6 | (byte(1) & 0x3F);
      if (value >= 0x80) {
        return {value, 2, true};
      }
    }
  } else if ((b0 & 0xF0) == 0xE0) {
    if (is_continuation(byte(1)) && is_continuation(byte(2))) {
      const int value = (b0 & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
      if (value >= 0x800) {
        return {value, 3, true};
      }
    }
  } else if ((b0 & 0xF8) == 0xF0) {
    if (is_continuation(byte(1)) && is_continuation(byte(2)) && is_continuation(byte(3))) {
      const int value =
          (b0 & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
      if (value >= 0x10000 && value <= 0x10FFFF) {
        return {value, 4, true};
      }
    }
  }
  return {b0, 1, false};
}

/// 0: not encodable. The comparisons are signed, so a negative value takes one byte.
[[nodiscard]] constexpr int utf8_length(int cp) {
  if (cp < 0x80) {
    return 1;
  }
  if (cp < 0x800) {
    return 2;
  }
  if (cp < 0x10000) {
    return 3;
  }
  return cp < 0x200000 ? 4 : 0;
}

/// Writes utf8_length(cp) bytes.
inline void write_utf8(int cp, int length, char* to) {
  const auto put = [to](int i, int bits) { to[i] = static_cast<char>(bits); };
  const auto tail = [cp](int shift) { return 0x80 | (cp >> shift & 0x3F); };
  switch (length) {
    case 1:
      put(0, cp);
      break;
    case 2:
      put(0, 0xC0 | cp >> 6);
      put(1, tail(0));
      break;
    case 3:
      put(0, 0xE0 | cp >> 12);
      put(1, tail(6));
      put(2, tail(0));
      break;
    default:
      put(0, 0xF0 | cp >> 18);
      put(1, tail(12));
      put(2, tail(6));
      put(3, tail(0));
      break;
  }
}

// UTF-16 data may come through char pointers, so units are read and written as bytes.

[[nodiscard]] inline unsigned load_unit(const void* text, std::size_t index) {
  std::uint16_t unit = 0;
  std::memcpy(&unit, static_cast<const char*>(text) + index * sizeof(unit), sizeof(unit));
  return unit;
}

inline void store_unit(void* text, std::size_t index, unsigned value) {
  const auto unit = static_cast<std::uint16_t>(value);
  std::memcpy(static_cast<char*>(text) + index * sizeof(unit), &unit, sizeof(unit));
}

// Kept on purpose: surrogates are paired without the standard's offset of 0x10000, here and in
// write_utf16(). Required, and the same in both directions. A pair 0xD800 0xDC00 therefore reads as
// 0, which ends a string.
[[nodiscard]] inline CodePoint decode_utf16(const void* text, std::size_t index) {
  const unsigned first = load_unit(text, index);
  if (first >= 0xD800 && first <= 0xDBFF) {
    const unsigned second = load_unit(text, index + 1);
    if (second >= 0xDC00 && second <= 0xDFFF) {
      return {static_cast<int>((first - 0xD800) << 10 | (second - 0xDC00)), 2, true};
    }
  }
  return {static_cast<int>(first), 1, true};
}

[[nodiscard]] constexpr int utf16_length(int cp) {
  return cp < 0x10000 ? 1 : 2;
}

inline void write_utf16(int cp, int length, void* text, std::size_t index) {
  if (length == 1) {
    store_unit(text, index, static_cast<unsigned>(cp));
  } else {
    store_unit(text, index, 0xD800U + static_cast<unsigned>(cp >> 10));
    store_unit(text, index + 1, 0xDC00U + static_cast<unsigned>(cp & 0x3FF));
  }
}

}  // namespace orsin
