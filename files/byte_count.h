// The bytes of `count` things of one size.
#pragma once

#include <limits>

namespace orsin {

constexpr unsigned long long kAllBytes = std::numeric_limits<unsigned long long>::max();

/// size x count; `too_many` where the product has more than 64 bits, as what is left of it would be
/// any number.
[[nodiscard]] constexpr unsigned long long byte_count(unsigned long long size,
                                                      unsigned long long count,
                                                      unsigned long long too_many) {
  return count != 0 && size > kAllBytes / count ? too_many : size * count;
}

}  // namespace orsin
