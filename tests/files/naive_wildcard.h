// The rule of wildcard patterns once more, by trying everything: for tests and the fuzzer.
//
// A pattern is parsed into elements first, each a set of the byte values it takes; a "*" is then
// tried at every position. Exponential: keep names and patterns short.
#pragma once

#include <bitset>
#include <cstddef>
#include <optional>
#include <vector>

namespace orsin::test {

struct NaiveElement {
  bool is_star = false;
  std::bitset<256> bytes;
};

using NaivePattern = std::vector<NaiveElement>;

inline unsigned char naive_fold(char byte, bool case_sensitive) {
  const auto value = static_cast<unsigned char>(byte);
  return !case_sensitive && value >= 'A' && value <= 'Z' ? static_cast<unsigned char>(value + 32)
                                                         : value;
}

// Takes one byte of a set, with its backslash if it has one. Nothing at the pattern's end.
inline std::optional<unsigned char> naive_set_byte(const char*& pattern, bool case_sensitive) {
  if (*pattern == '\\') {
    ++pattern;
  }
  if (*pattern == '\0') {
    return std::nullopt;
  }
  return naive_fold(*pattern++, case_sensitive);
}

inline bool naive_parse_set(const char*& pattern, bool case_sensitive, NaiveElement& element) {
  if (*pattern == ']') {
    return false;
  }
  for (; *pattern != ']';) {
    const auto low = naive_set_byte(pattern, case_sensitive);
    if (!low) {
      return false;
    }
    auto high = low;
    if (*pattern == '-') {
      ++pattern;
      if (*pattern == ']') {
        return false;
      }
      high = naive_set_byte(pattern, case_sensitive);
      if (!high) {
        return false;
      }
    }
    for (std::size_t value = 0; value < 256; ++value) {
      if ((*low <= value && value <= *high) || (*high <= value && value <= *low)) {
        element.bytes.set(value);
      }
    }
  }
  ++pattern;
  return true;
}

/// Nothing for a broken pattern.
inline std::optional<NaivePattern> naive_parse(const char* pattern, bool case_sensitive) {
  NaivePattern elements;
  while (*pattern != '\0') {
    NaiveElement element;
    const char byte = *pattern++;
    if (byte == '*') {
      element.is_star = true;
    } else if (byte == '?') {
      element.bytes.set();
    } else if (byte == '[') {
      if (!naive_parse_set(pattern, case_sensitive, element)) {
        return std::nullopt;
      }
    } else if (byte == '\\') {
      if (*pattern == '\0') {
        return std::nullopt;
      }
      element.bytes.set(naive_fold(*pattern++, case_sensitive));
    } else {
      element.bytes.set(naive_fold(byte, case_sensitive));
    }
    elements.push_back(element);
  }
  return elements;
}

inline bool naive_try(const char* name, const NaivePattern& pattern, std::size_t at,
                      bool case_sensitive) {
  if (at == pattern.size()) {
    return *name == '\0';
  }
  if (pattern[at].is_star) {
    for (;; ++name) {
      if (naive_try(name, pattern, at + 1, case_sensitive)) {
        return true;
      }
      if (*name == '\0') {
        return false;
      }
    }
  }
  return *name != '\0' && pattern[at].bytes.test(naive_fold(*name, case_sensitive)) &&
         naive_try(name + 1, pattern, at + 1, case_sensitive);
}

inline bool naive_matches(const char* name, const char* pattern, bool case_sensitive) {
  const auto elements = naive_parse(pattern, case_sensitive);
  return elements && naive_try(name, *elements, 0, case_sensitive);
}

}  // namespace orsin::test
