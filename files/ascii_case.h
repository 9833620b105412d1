// Letters without regard to case, for file names: A to Z and nothing else.
//
// File names are UTF-8. Folding only ASCII keeps every other byte as it is, whatever the locale.
#pragma once

namespace orsin {

/// A to Z become a to z; every other byte stays.
[[nodiscard]] constexpr unsigned char fold_case(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= 'A' && value <= 'Z' ? static_cast<unsigned char>(value + ('a' - 'A')) : value;
}

/// Compares bytes as unsigned numbers after folding: negative, 0 or positive.
[[nodiscard]] constexpr int compare_folded(const char* a, const char* b) {
  while (*a != '\0' && fold_case(*a) == fold_case(*b)) {
    ++a;
    ++b;
  }
  return fold_case(*a) - fold_case(*b);
}

}  // namespace orsin
