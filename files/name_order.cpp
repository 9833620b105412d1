// The order of file names as people number them: take9 before take10.
//
// Kept on purpose: names with different extensions compare plainly, without regard to numbers. The
// relation is therefore no order (f9.wav < f10.wav < f9.mov < f9.wav); lists on screen have always
// looked like this. Sorting by it needs a sort that assumes nothing: files/merge_sort.h.
#include "files/name_order.h"

#include <cstdint>
#include <cstring>

#include "orsincore/files.h"

namespace orsin {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

int folded(char c) {
  return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c;
}

// Reads a run of digits and moves past it. Digits that no longer fit are not added.
std::uint32_t read_number(const char*& text) {
  std::uint64_t value = 0;
  bool fits = true;
  for (; is_digit(*text); ++text) {
    const std::uint64_t next = value * 10 + static_cast<std::uint64_t>(*text - '0');
    fits = fits && next <= UINT32_MAX;
    value = fits ? next : value;
  }
  return static_cast<std::uint32_t>(value);
}

}  // namespace

const char* extension_of(const char* name) {
  return std::strrchr(name, '.');
}

int compare_ignoring_case(const char* a, const char* b) {
  for (;; ++a, ++b) {
    const int difference = (folded(*a) & 0xFF) - (folded(*b) & 0xFF);
    if (difference != 0 || *a == '\0') {
      return difference;
    }
  }
}

int compare_names(const char* a, const char* a_extension, const char* b, const char* b_extension) {
  if (a_extension != nullptr && b_extension != nullptr &&
      std::strcmp(a_extension, b_extension) != 0) {
    return compare_ignoring_case(a, b);
  }
  for (;;) {
    if (*a == '\0') {
      return 0 - *b;
    }
    if (*b == '\0') {
      return *a;
    }
    if (is_digit(*a) && is_digit(*b)) {
      const std::uint32_t first = read_number(a);
      const std::uint32_t second = read_number(b);
      if (first != second) {
        return first > second ? 1 : -1;
      }
      continue;
    }
    const int difference = folded(*a) - folded(*b);
    if (difference != 0) {
      return difference;
    }
    ++a;
    ++b;
  }
}

}  // namespace orsin

using namespace orsin;

int file_namecmp(const char* a, const char* b) {
  return compare_names(a, extension_of(a), b, extension_of(b));
}
