// The order of file names; see name_order.h.
#include "files/name_order.h"

#include <cstring>
#include <limits>

#include "files/ascii_case.h"
#include "orsincore/files.h"

namespace orsin {
namespace {

constexpr bool is_digit(char byte) {
  return byte >= '0' && byte <= '9';
}

// Bytes of UTF-8 count as negative numbers, on every compiler: the end of a name is 0 and goes
// after them, so that a name goes after its own continuation with an accent. Odd, but one order.
constexpr int signed_byte(unsigned char byte) {
  return static_cast<signed char>(byte);
}

const char* skip_digits(const char* text) {
  while (is_digit(*text)) {
    ++text;
  }
  return text;
}

// Kept on purpose: a run of digits beyond 32 bits counts only up to the digit that would overflow,
// so 4294967296 reads as 429496729. Required.
std::uint32_t leading_number(const char* text) {
  std::uint64_t value = 0;
  for (; is_digit(*text); ++text) {
    const std::uint64_t longer = value * 10 + static_cast<std::uint64_t>(*text - '0');
    if (longer > std::numeric_limits<std::uint32_t>::max()) {
      break;
    }
    value = longer;
  }
  return static_cast<std::uint32_t>(value);
}

int compare_by_number(const char* a, const char* b) {
  for (;;) {
    if (*a == '\0') {
      return -signed_byte(static_cast<unsigned char>(*b));
    }
    if (*b == '\0') {
      return signed_byte(static_cast<unsigned char>(*a));
    }
    if (is_digit(*a) && is_digit(*b)) {
      const std::uint32_t number_a = leading_number(a);
      const std::uint32_t number_b = leading_number(b);
      if (number_a != number_b) {
        return number_a > number_b ? 1 : -1;
      }
      a = skip_digits(a);  // All of it: "007" and "7" are equal so far.
      b = skip_digits(b);
      continue;
    }
    const int difference = signed_byte(fold_case(*a)) - signed_byte(fold_case(*b));
    if (difference != 0) {
      return difference;
    }
    ++a;
    ++b;
  }
}

bool extensions_differ(const NameKey& a, const NameKey& b) {
  if (a.extension == nullptr || b.extension == nullptr) {
    return false;
  }
  if (a.extension_head != b.extension_head) {
    return true;
  }
  const bool ends_in_head = (a.extension_head >> 56) == 0;
  return !ends_in_head && std::strcmp(a.extension + 8, b.extension + 8) != 0;
}

}  // namespace

NameKey make_name_key(const char* name) {
  NameKey key{name, std::strrchr(name, '.'), 0};
  if (key.extension != nullptr) {
    for (int i = 0; i < 8 && key.extension[i] != '\0'; ++i) {
      key.extension_head |= std::uint64_t{static_cast<unsigned char>(key.extension[i])} << (8 * i);
    }
  }
  return key;
}

int compare_names(const NameKey& a, const NameKey& b) {
  if (extensions_differ(a, b)) {
    return compare_folded(a.name, b.name);
  }
  return compare_by_number(a.name, b.name);
}

}  // namespace orsin

using namespace orsin;

int file_namecmp(const char* a, const char* b) {
  return compare_names(make_name_key(a), make_name_key(b));
}
