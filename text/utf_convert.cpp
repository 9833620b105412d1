// Conversions between UTF-8, UTF-16, UTF-32 and Latin-1.
//
// All converters share one loop: whole characters while they fit, the terminator by the same rule,
// then 0 in the last element whatever happened.
//
// Kept on purpose: when the characters fill the destination exactly, that last 0 cuts the final
// character, in UTF-8 possibly in half. Callers size their buffers by it.
#include "orsincore/text.h"
#include "text/ascii_run.h"
#include "text/code_points.h"

namespace orsin {
namespace {

char* convert_utf16_to_utf8(const void* src, char* dst, std::size_t n) {
  if (n == 0) {
    return dst;
  }
  std::size_t read = 0;
  std::size_t written = 0;
  for (;;) {
    const std::size_t run =
        narrow_ascii_run(static_cast<const char*>(src) + read * 2, dst + written, n - written);
    read += run;
    written += run;
    // One by one as far as a block reaches: looking for a run after each accent costs more than it
    // gains.
    for (std::size_t i = 0; i < kAsciiBlockBytes / 2; ++i) {
      const CodePoint cp = decode_utf16(src, read);
      const int length = utf8_length(cp.value);
      if (static_cast<std::size_t>(length) > n - written) {
        dst[n - 1] = '\0';
        return dst;
      }
      write_utf8(cp.value, length, dst + written);
      if (cp.value == 0) {
        dst[n - 1] = '\0';
        return dst;
      }
      read += static_cast<std::size_t>(cp.length);
      written += static_cast<std::size_t>(length);
    }
  }
}

void* convert_utf8_to_utf16(const char* src, void* dst, std::size_t n) {
  if (n == 0) {
    return dst;
  }
  const char* from = src;
  std::size_t written = 0;
  for (;;) {
    const std::size_t run =
        widen_ascii_run(from, static_cast<char*>(dst) + written * 2, n - written);
    from += run;
    written += run;
    for (std::size_t i = 0; i < kAsciiBlockBytes; ++i) {
      const CodePoint cp = decode_utf8(from);
      const int length = utf16_length(cp.value);
      if (static_cast<std::size_t>(length) > n - written) {
        store_unit(dst, n - 1, 0);
        return dst;
      }
      write_utf16(cp.value, length, dst, written);
      if (cp.value == 0) {
        store_unit(dst, n - 1, 0);
        return dst;
      }
      from += cp.length;
      written += static_cast<std::size_t>(length);
    }
  }
}

bool is_high(char c) {
  return static_cast<unsigned char>(c) >= 0x80;
}

bool starts_empty(char* dst, std::size_t n, const char* src) {
  if (n == 0) {
    return true;
  }
  dst[0] = '\0';
  return src == nullptr || *src == '\0';
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
  if (n == 0) {
    return dst;
  }
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
  if (n == 0) {
    return dst;
  }
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
// eight bits (C3 C0 gives 0, which ends the text early). Old metadata was written through this.
const char* ov_utf8_to_byte(char* dst, std::size_t n, const char* src) {
  if (starts_empty(dst, n, src)) {
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
  if (starts_empty(dst, n, src)) {
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
  if (starts_empty(dst, n, src)) {
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
