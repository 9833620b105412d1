// The bytes of `count` things of one size.
#pragma once

#include <limits>

namespace orsin {

/// size x count; all that there are where the product has more than 64 bits.
[[nodiscard]] constexpr unsigned long long byte_count(unsigned long long size,
                                                      unsigned long long count) {
  constexpr unsigned long long kAll = std::numeric_limits<unsigned long long>::max();
  return count != 0 && size > kAll / count ? kAll : size * count;
}

/// The same for a block of memory: 0 where the product has more than 64 bits. Such numbers are a
/// mistake, and what is left of their product would be any number.
[[nodiscard]] constexpr unsigned long long block_bytes(unsigned long long size,
                                                       unsigned long long count) {
  constexpr unsigned long long kAll = std::numeric_limits<unsigned long long>::max();
  return count != 0 && size > kAll / count ? 0 : size * count;
}

}  // namespace orsin
