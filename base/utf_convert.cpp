// Conversions between UTF-8, UTF-16, UTF-32 and Latin-1.
//
// All converters share one loop: whole characters while they fit, the terminator by the same rule,
// then 0 in the last element whatever happened.
//
// Kept on purpose: when the characters fill the destination exactly, that last 0 cuts the final
// character, in UTF-8 possibly in half. Required.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/ascii_run.h"
#include "base/code_points.h"
#include "base/given_text.h"
#include "orsincore/utf.h"

namespace orsin {
namespace {

// Characters converted one by one before the next look for a run of ASCII: in text with accents,
// looking after each of them costs more than it gains.
constexpr std::size_t kStretch = 32;

// Converts up to `count` units below the surrogates, as far as there are any, and moves both
// positions. Three bytes are followed by a fourth of 0 for a moment: whatever comes next, if only the
// terminator, takes its place. Needs room for three bytes a unit and four more.
void convert_plain_units(const char*& from, char*& to, std::size_t count) {
  constexpr unsigned kSurrogates = 0xD800;
  for (; count > 0; --count) {
    const unsigned unit = load_unit(from, 0);
    if (unit - 1 < 0x7F) {
      *to++ = static_cast<char>(unit);
    } else if (unit - 1 < 0x7FF) {
      store_unit(to, 0, 0x80C0 | unit >> 6 | (unit & 0x3F) << 8);
      to += 2;
    } else if (unit - 1 < kSurrogates - 1 || unit > 0xDFFF) {
      const std::uint32_t triple =
          0x8080E0 | unit >> 12 | (unit >> 6 & 0x3F) << 8 | (unit & 0x3F) << 16;
      std::memcpy(to, &triple, sizeof(triple));
      to += 3;
    } else {
      return;  // The terminator, or half of a pair.
    }
    from += sizeof(std::uint16_t);
  }
}

// What a null source reads as: the terminator of every kind of text.
constexpr unsigned int kEmptyText = 0;

char* convert_utf16_to_utf8(const void* src, char* dst, std::size_t n) {
  if (n == 0 || dst == nullptr) {
    return dst;
  }
  constexpr std::size_t kSpareBytes = 4;
  const char* from = static_cast<const char*>(src != nullptr ? src : &kEmptyText);
  char* to = dst;
  const char* const end = dst + n;
  for (;;) {
    const std::size_t run = narrow_ascii_run(from, to, static_cast<std::size_t>(end - to));
    from += run * sizeof(std::uint16_t);
    to += run;
    const auto room = static_cast<std::size_t>(end - to);
    if (room > kSpareBytes) {
      convert_plain_units(from, to, std::min(kStretch, (room - kSpareBytes) / 3));
    }
    // One more by the full rule, which also ends the text or the room.
    const CodePoint cp = decode_utf16(from, 0);
    const int length = utf8_length(cp.value);
    const bool fits = length <= end - to;
    if (fits) {
      write_utf8(cp.value, length, to);
    }
    if (!fits || cp.value == 0) {
      dst[n - 1] = '\0';
      return dst;
    }
    from += static_cast<std::size_t>(cp.length) * sizeof(std::uint16_t);
    to += length;
  }
}

// Converts up to `count` characters of one to three bytes, as far as there are any, and moves both
// positions. Each becomes one unit.
void convert_plain_bytes(const char*& from, char*& to, std::size_t count) {
  for (; count > 0; --count) {
    const auto byte = [from](int i) { return static_cast<unsigned char>(from[i]); };
    const unsigned b0 = byte(0);
    if (b0 - 1 < 0x7F) {
      store_unit(to, 0, b0);
      from += 1;
    } else if (b0 - 0xC2 < 0x1E && is_continuation(byte(1))) {
      store_unit(to, 0, (b0 & 0x1F) << 6 | (byte(1) & 0x3FU));
      from += 2;
    } else if ((b0 & 0xF0) == 0xE0 && is_continuation(byte(1)) && is_continuation(byte(2)) &&
               (b0 > 0xE0 || byte(1) >= 0xA0)) {
      store_unit(to, 0, (b0 & 0x0F) << 12 | (byte(1) & 0x3FU) << 6 | (byte(2) & 0x3FU));
      from += 3;
    } else {
      return;  // The terminator, four bytes, or a byte that cannot be decoded.
    }
    to += sizeof(std::uint16_t);
  }
}

void* convert_utf8_to_utf16(const char* src, void* dst, std::size_t n) {
  if (n == 0 || dst == nullptr) {
    return dst;
  }
  const char* from = given(src);
  char* to = static_cast<char*>(dst);
  const char* const end = to + n * sizeof(std::uint16_t);
  const auto room = [&to, end] {
    return static_cast<std::size_t>(end - to) / sizeof(std::uint16_t);
  };
  for (;;) {
    const std::size_t run = widen_ascii_run(from, to, room());
    from += run;
    to += run * sizeof(std::uint16_t);
    convert_plain_bytes(from, to, std::min(kStretch, room()));
    // One more by the full rule, which also ends the text or the room.
    const CodePoint cp = decode_utf8(from);
    const int length = utf16_length(cp.value);
    const bool fits = static_cast<std::size_t>(length) <= room();
    if (fits) {
      write_utf16(cp.value, length, to, 0);
    }
    if (!fits || cp.value == 0) {
      store_unit(dst, n - 1, 0);
      return dst;
    }
    from += cp.length;
    to += static_cast<std::size_t>(length) * sizeof(std::uint16_t);
  }
}

bool is_high(char c) {
  return static_cast<unsigned char>(c) >= 0x80;
}

// Whether there is nothing to convert or no room for it; the destination is empty then. It may be the
// source, so it is written to only then.
bool ends_empty(char* dst, std::size_t n, const char* src) {
  if (n == 0 || dst == nullptr) {
    return true;
  }
  if (src == nullptr || *src == '\0') {
    dst[0] = '\0';
    return true;
  }
  return false;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

char* ov_utf16_to_utf8(const unsigned short* src, char* dst, std::size_t n) {
  return convert_utf16_to_utf8(src, dst, n);
}

char* ov_utf16_to_utf8(const char* src, char* dst, std::size_t n) {
  return convert_utf16_to_utf8(src, dst, n);
}

unsigned short* ov_utf8_to_utf16(const char* src, unsigned short* dst, std::size_t n) {
  convert_utf8_to_utf16(src, dst, n);
  return dst;
}

char* ov_utf8_to_utf16(const char* src, char* dst, std::size_t n) {
  convert_utf8_to_utf16(src, dst, n / 2);
  return dst;
}

#if defined(_WIN32)
static_assert(sizeof(wchar_t) == sizeof(unsigned short));

char* ov_wchar_to_utf8(const wchar_t* src, char* dst, std::size_t n) {
  return convert_utf16_to_utf8(src, dst, n);
}

wchar_t* ov_utf8_to_wchar_n(const char* src, wchar_t* dst, std::size_t n) {
  convert_utf8_to_utf16(src, dst, n);
  return dst;
}

wchar_t* ov_utf8_to_wchar_s(const char* src, wchar_t* dst, std::size_t n) {
  convert_utf8_to_utf16(src, dst, n / 2);
  return dst;
}
#endif

char* ov_utf32_to_utf8(const unsigned int* src, char* dst, std::size_t n) {
  if (n == 0 || dst == nullptr) {
    return dst;
  }
  src = src != nullptr ? src : &kEmptyText;
  std::size_t written = 0;
  for (;; ++src) {
    if (*src >= 0x200000) {
      break;
    }
    const int cp = static_cast<int>(*src);
    const int length = utf8_length(cp);
    if (static_cast<std::size_t>(length) > n - written) {
      break;
    }
    write_utf8(cp, length, dst + written);
    written += static_cast<std::size_t>(length);
    if (cp == 0) {
      break;
    }
  }
  dst[n - 1] = '\0';
  return dst;
}

unsigned int* ov_utf8_to_utf32(const char* src, unsigned int* dst, std::size_t n) {
  if (n == 0 || dst == nullptr) {
    return dst;
  }
  src = given(src);
  for (std::size_t written = 0; written < n; ++written) {
    const CodePoint cp = decode_utf8(src);
    dst[written] = static_cast<unsigned int>(cp.value);
    if (cp.value == 0) {
      break;
    }
    src += cp.length;
  }
  dst[n - 1] = 0;
  return dst;
}

// Kept on purpose: lead bytes other than C2 and C3 pass unchanged, and a byte after C3 wraps in
// eight bits (C3 C0 gives 0, which ends the text early). Required.
const char* ov_utf8_to_byte(char* dst, std::size_t n, const char* src) {
  if (ends_empty(dst, n, src)) {
    return dst;
  }
  char* to = dst;
  const char* end = n > 2 ? dst + n - 2 : dst;
  while (to < end && *src != '\0') {
    if (*src == '\xC2' && is_high(src[1])) {
      *to++ = src[1];
      src += 2;
    } else if (*src == '\xC3' && is_high(src[1])) {
      *to++ = static_cast<char>(static_cast<unsigned char>(src[1]) + 0x40);
      src += 2;
    } else {
      *to++ = *src++;
    }
  }
  *to = '\0';
  return dst;
}

const char* ov_byte_to_utf8(char* dst, std::size_t n, const char* src) {
  if (ends_empty(dst, n, src)) {
    return dst;
  }
  std::size_t written = 0;
  for (; *src != '\0'; ++src) {
    const int length = is_high(*src) ? 2 : 1;
    if (written + static_cast<std::size_t>(length) >= n) {
      break;
    }
    write_utf8(static_cast<unsigned char>(*src), length, dst + written);
    written += static_cast<std::size_t>(length);
  }
  dst[written] = '\0';
  return dst;
}

const char* validate_ascii_xml_text(char* dst, std::size_t n, const char* src) {
  if (ends_empty(dst, n, src)) {
    return dst;
  }
  std::size_t written = 0;
  for (; src[written] != '\0' && written + 2 < n; ++written) {
    const auto byte = static_cast<unsigned char>(src[written]);
    const bool is_control = byte <= 0x20 && byte != '\n' && byte != '\r';
    dst[written] = is_control ? ' ' : src[written];
  }
  dst[written] = '\0';
  return dst;
}
