// Matching a file name against a pattern of wildcards; see wildcard.h.
//
// Every element but "*" takes exactly one byte. So when the part after a "*" fails, only the latest
// "*" needs to take one byte more: what an earlier one could still try, the latest tries as well.
// The cost is bounded by name length times pattern length; there is no recursion.
#include "files/wildcard.h"

#include <algorithm>

#include "files/ascii_case.h"

namespace orsin {
namespace {

// What one element of the pattern says about one byte of the name.
struct Element {
  const char* next;  // The element after it; null when the pattern is broken here.
  bool matches;
};

constexpr Element kBroken{nullptr, false};

class Matcher {
 public:
  explicit Matcher(bool case_sensitive) : case_sensitive_(case_sensitive) {}

  [[nodiscard]] bool matches(const char* name, const char* pattern) const;

 private:
  [[nodiscard]] unsigned char folded(char byte) const {
    return case_sensitive_ ? static_cast<unsigned char>(byte) : fold_case(byte);
  }
  [[nodiscard]] Element read_element(const char* pattern, char byte) const;
  [[nodiscard]] Element read_set(const char* pattern, char byte) const;

  bool case_sensitive_;
};

// One byte of a set, or null when the pattern ends in it. Steps past a backslash.
const char* set_byte(const char* pattern) {
  if (*pattern == '\\') {
    ++pattern;
  }
  return *pattern != '\0' ? pattern : nullptr;
}

// The whole set is read, also when its first byte matches already: a broken set matches nothing.
Element Matcher::read_set(const char* pattern, char byte) const {
  if (*pattern == ']') {
    return kBroken;
  }
  const unsigned char wanted = folded(byte);
  bool is_member = false;
  while (*pattern != ']') {
    const char* low = set_byte(pattern);
    if (low == nullptr) {
      return kBroken;
    }
    const char* high = low;
    if (low[1] == '-') {
      high = low[2] != ']' ? set_byte(low + 2) : nullptr;
      if (high == nullptr) {
        return kBroken;
      }
    }
    const auto [least, most] = std::minmax({folded(*low), folded(*high)});
    is_member = is_member || (least <= wanted && wanted <= most);
    pattern = high + 1;
  }
  return {pattern + 1, is_member};
}

Element Matcher::read_element(const char* pattern, char byte) const {
  switch (*pattern) {
    case '\0':
      return {pattern, false};  // The name goes on after the pattern's end.
    case '?':
      return {pattern + 1, true};
    case '[':
      return read_set(pattern + 1, byte);
    case '\\':
      ++pattern;
      if (*pattern == '\0') {
        return kBroken;
      }
      break;
    default:
      break;
  }
  return {pattern + 1, folded(*pattern) == folded(byte)};
}

bool Matcher::matches(const char* name, const char* pattern) const {
  const char* retry_name = nullptr;     // Where the latest "*" has to take one byte more.
  const char* retry_pattern = nullptr;  // What follows it.
  while (*name != '\0') {
    if (*pattern == '*') {
      retry_pattern = ++pattern;
      retry_name = name;
      if (*pattern == '\0') {
        return true;
      }
      continue;
    }
    const Element element = read_element(pattern, *name);
    if (element.next == nullptr) {
      return false;
    }
    if (element.matches) {
      pattern = element.next;
      ++name;
      continue;
    }
    if (retry_pattern == nullptr) {
      return false;
    }
    pattern = retry_pattern;
    name = ++retry_name;
  }
  while (*pattern == '*') {
    ++pattern;
  }
  return *pattern == '\0';
}

}  // namespace

bool matches_wildcard(const char* name, const char* pattern, bool case_sensitive) {
  return Matcher(case_sensitive).matches(name, pattern);
}

}  // namespace orsin
