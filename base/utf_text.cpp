// Counting, decoding and editing of UTF-8 and UTF-16 strings, and validation.
#include <cstring>

#include "base/code_points.h"
#include "orsincore/utf.h"

namespace orsin {
namespace {

std::size_t count_utf16(const void* text) {
  std::size_t index = 0;
  std::size_t count = 0;
  while (text != nullptr && load_unit(text, index) != 0) {
    index += static_cast<std::size_t>(decode_utf16(text, index).length);
    ++count;
  }
  return count;
}

// Where the strict rules fail first, or the end.
const char* first_invalid(const char* s) {
  while (*s != '\0') {
    const CodePoint cp = decode_utf8(s);
    if (!cp.is_valid) {
      break;
    }
    s += cp.length;
  }
  return s;
}

bool is_lead(const char* s, std::size_t end, std::size_t back, unsigned mask, unsigned bits) {
  return end >= back && (static_cast<unsigned char>(s[end - back]) & mask) == bits;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

std::size_t ov_utf8_strlen(const char* s) {
  std::size_t count = 0;
  while (s != nullptr && *s != '\0') {
    s += decode_utf8(s).length;
    ++count;
  }
  return count;
}

int ov_utf8_get_code_point(const char* s, std::size_t* pos) {
  const CodePoint cp = decode_utf8(s + *pos);
  if (cp.value != 0) {
    *pos += static_cast<std::size_t>(cp.length);
  }
  return cp.value;
}

int ov_utf8_get_code_point_rev(const char* s, std::size_t* pos) {
  const std::size_t end = *pos;
  if (end == 0) {
    return 0;
  }
  std::size_t back = 1;
  if (static_cast<unsigned char>(s[end - 1]) >= 0x80) {
    if (is_lead(s, end, 2, 0xE0, 0xC0)) {
      back = 2;
    } else if (is_lead(s, end, 3, 0xF0, 0xE0)) {
      back = 3;
    } else if (is_lead(s, end, 4, 0xF8, 0xF0)) {
      back = 4;
    } else {
      *pos = end - 1;
      return static_cast<unsigned char>(s[end - 1]);
    }
  }
  *pos = end - back;
  return decode_utf8(s + *pos).value;
}

std::size_t ov_utf8_get_num_bytes(const char* s, std::size_t start, int count) {
  const char* from = s + start;
  const char* to = from;
  for (; count > 0 && *to != '\0'; --count) {
    to += decode_utf8(to).length;
  }
  return static_cast<std::size_t>(to - from);
}

int ov_utf8_get_num_bytes_for_code_point(int cp) {
  return utf8_length(cp);
}

int ov_utf8_encode(int cp, char* dst, std::size_t n) {
  const int length = utf8_length(cp);
  if (length == 0 || static_cast<std::size_t>(length) > n) {
    return 0;
  }
  write_utf8(cp, length, dst);
  return length;
}

int ov_utf8_insert_char(char* s, std::size_t n, int index, int cp) {
  if (s == nullptr) {
    return 0;
  }
  const std::size_t length = std::strlen(s);
  const int added = utf8_length(cp);
  if (added == 0 || length + static_cast<std::size_t>(added) >= n) {
    return 0;
  }
  const std::size_t at = ov_utf8_get_num_bytes(s, 0, index);
  std::memmove(s + at + added, s + at, length - at + 1);
  write_utf8(cp, added, s + at);
  return added;
}

std::size_t ov_utf8_erase(char* s, int index, int count) {
  if (s == nullptr) {
    return 0;
  }
  const std::size_t length = std::strlen(s);
  const std::size_t at = ov_utf8_get_num_bytes(s, 0, index);
  if (count < 1 || at >= length) {
    return 0;
  }
  const std::size_t removed = ov_utf8_get_num_bytes(s, at, count);
  std::memmove(s + at, s + at + removed, length - at - removed + 1);
  return removed;
}

std::size_t ov_utf8_insert(char* s, std::size_t n, int index, const char* ins) {
  if (s == nullptr || ins == nullptr) {
    return 0;
  }
  const std::size_t length = std::strlen(s);
  if (n == 0 || length >= n - 1) {
    return 0;
  }
  const std::size_t room = n - 1 - length;
  std::size_t added = std::strlen(ins);
  if (added > room) {
    added = 0;
    for (;;) {
      const auto next = static_cast<std::size_t>(decode_utf8(ins + added).length);
      if (added + next > room) {
        break;
      }
      added += next;
    }
  }
  if (added == 0) {
    return 0;
  }
  const std::size_t at = ov_utf8_get_num_bytes(s, 0, index);
  std::memmove(s + at + added, s + at, length - at + 1);
  std::memcpy(s + at, ins, added);
  return added;
}

int ov_utf8_is_valid(const char* s) {
  return s != nullptr && *first_invalid(s) == '\0' ? 1 : 0;
}

char* ov_utf8_validate(char* s) {
  if (s == nullptr) {
    return s;
  }
  // A text that is valid may stand where nobody can write.
  if (const char* invalid = first_invalid(s); *invalid != '\0') {
    s[invalid - s] = '\0';
  }
  return s;
}

std::size_t ov_utf16_strlen(const unsigned short* s) {
  return count_utf16(s);
}

std::size_t ov_utf16_strlen(const char* s) {
  return count_utf16(s);
}

int ov_utf16_get_code_point(const unsigned short* s, std::size_t* pos) {
  const CodePoint cp = decode_utf16(s, *pos);
  if (cp.value != 0) {
    *pos += static_cast<std::size_t>(cp.length);
  }
  return cp.value;
}

int ov_utf16_get_code_point(const char* s, std::size_t* pos) {
  *pos &= ~std::size_t{1};
  const CodePoint cp = decode_utf16(s, *pos / 2);
  if (cp.value != 0) {
    *pos += static_cast<std::size_t>(cp.length) * 2;
  }
  return cp.value;
}

int ov_utf16_get_num_for_code_point(int cp) {
  return utf16_length(cp);
}

int ov_utf16_get_num_bytes_for_code_point(int cp) {
  return utf16_length(cp) * 2;
}

int ov_utf16_encode(int cp, unsigned short* dst, std::size_t n) {
  const int length = utf16_length(cp);
  if (static_cast<std::size_t>(length) > n) {
    return 0;
  }
  write_utf16(cp, length, dst, 0);
  return length;
}

int ov_utf16_encode(int cp, char* dst, std::size_t n) {
  const int length = utf16_length(cp);
  if (static_cast<std::size_t>(length) > n / 2) {
    return 0;
  }
  write_utf16(cp, length, dst, 0);
  return length * 2;
}
