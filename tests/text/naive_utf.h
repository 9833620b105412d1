// UTF-8 and UTF-16 written a second time, slowly and from the rules, to compare with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orsin::test {

struct NaiveCodePoint {
  unsigned value;
  std::size_t length;
  bool is_valid;
};

/// Decodes at a position; bytes behind the end of the text count as NUL.
inline NaiveCodePoint naive_decode(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) -> unsigned {
    return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0;
  };
  const unsigned first = byte(0);
  struct Form {
    unsigned mask, lead, low, high;
    std::size_t length;
  };
  constexpr Form kForms[] = {{0x80, 0x00, 0x0, 0x7F, 1},
                             {0xE0, 0xC0, 0x80, 0x7FF, 2},
                             {0xF0, 0xE0, 0x800, 0xFFFF, 3},
                             {0xF8, 0xF0, 0x10000, 0x10FFFF, 4}};
  for (const Form& form : kForms) {
    if ((first & form.mask) != form.lead) {
      continue;
    }
    unsigned value = first & ~form.mask & 0xFF;
    bool complete = true;
    for (std::size_t i = 1; i < form.length; ++i) {
      complete = complete && byte(i) / 0x40 == 2;
      value = value * 0x40 + byte(i) % 0x40;
    }
    if (complete && value >= form.low && value <= form.high) {
      return {value, form.length, true};
    }
  }
  return {first, 1, false};
}

/// All code points of a text without NULs.
inline std::vector<unsigned> naive_code_points(std::string_view text) {
  std::vector<unsigned> result;
  for (std::size_t at = 0; at < text.size();) {
    const NaiveCodePoint cp = naive_decode(text, at);
    result.push_back(cp.value);
    at += cp.length;
  }
  return result;
}

inline std::string naive_encode(unsigned cp) {
  std::string text;
  const auto tail = [&](unsigned shift) {
    text.push_back(static_cast<char>(0x80 + (cp >> shift) % 0x40));
  };
  if (cp < 0x80) {
    text.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    text.push_back(static_cast<char>(0xC0 + cp / 0x40));
    tail(0);
  } else if (cp < 0x10000) {
    text.push_back(static_cast<char>(0xE0 + cp / 0x1000));
    tail(6);
    tail(0);
  } else {
    text.push_back(static_cast<char>(0xF0 + cp / 0x40000));
    tail(12);
    tail(6);
    tail(0);
  }
  return text;
}

/// Surrogates without the standard's offset.
inline std::u16string naive_utf16(const std::vector<unsigned>& code_points) {
  std::u16string text;
  for (const unsigned cp : code_points) {
    if (cp > 0xFFFF) {
      text.push_back(static_cast<char16_t>(0xD800 + cp / 0x400));
      text.push_back(static_cast<char16_t>(0xDC00 + cp % 0x400));
    } else {
      text.push_back(static_cast<char16_t>(cp));
    }
  }
  return text;
}

}  // namespace orsin::test
