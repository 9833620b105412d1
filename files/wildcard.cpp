// File name patterns, matched without recursion.
//
// Only the latest "*" ever needs another try: whatever an earlier one could give up, the latest can
// take as well. So one place to go back to is enough, and the time is at most length times length.
#include "files/wildcard.h"

#include <algorithm>
#include <cstring>

namespace orsin {
namespace {

class Matcher {
 public:
  Matcher(const char* pattern, bool case_sensitive)
      : pattern_(pattern), case_sensitive_(case_sensitive) {}

  bool matches(const char* name);

 private:
  bool step(char c);
  bool step_set(char c);

  [[nodiscard]] unsigned char fold(char c) const {
    const bool is_upper = c >= 'A' && c <= 'Z';
    return static_cast<unsigned char>(is_upper && !case_sensitive_ ? c + ('a' - 'A') : c);
  }

  const char* pattern_;
  bool case_sensitive_;
};

// Matches one byte against one element of the pattern and moves past it; false leaves the pattern
// anywhere.
bool Matcher::step(char c) {
  switch (*pattern_) {
    case '\0':
      return false;
    case '?':
      ++pattern_;
      return true;
    case '[':
      return step_set(c);
    case '\\':
      ++pattern_;
      if (*pattern_ == '\0') {
        return false;
      }
      [[fallthrough]];
    default:
      return fold(*pattern_++) == fold(c);
  }
}

// A malformed set matches nothing, whatever it holds before the mistake.
bool Matcher::step_set(char c) {
  const unsigned char wanted = fold(c);
  bool found = false;
  ++pattern_;
  if (*pattern_ == ']') {
    return false;
  }
  while (*pattern_ != ']') {
    if (*pattern_ == '\0') {
      return false;
    }
    const unsigned char low = fold(*pattern_++);
    unsigned char high = low;
    if (*pattern_ == '-') {
      ++pattern_;
      if (*pattern_ == '\0' || *pattern_ == ']') {
        return false;
      }
      high = fold(*pattern_++);
    }
    found = found || (wanted >= std::min(low, high) && wanted <= std::max(low, high));
  }
  ++pattern_;
  return found;
}

bool Matcher::matches(const char* name) {
  const char* star_pattern = nullptr;  // Behind the latest "*", and where it began to match.
  const char* star_name = nullptr;
  while (*name != '\0') {
    if (*pattern_ == '*') {
      star_pattern = ++pattern_;
      star_name = name;
      if (*pattern_ == '\0') {
        return true;
      }
    } else if (step(*name)) {
      ++name;
    } else if (star_pattern != nullptr) {
      pattern_ = star_pattern;
      name = ++star_name;
    } else {
      return false;
    }
  }
  return pattern_[std::strspn(pattern_, "*")] == '\0';
}

}  // namespace

bool matches_wildcard(const char* name, const char* pattern, bool case_sensitive) {
  return Matcher(pattern, case_sensitive).matches(name);
}

}  // namespace orsin
