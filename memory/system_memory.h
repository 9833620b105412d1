// What the machine's memory figures mean for the size of one block.
#pragma once

#include <cstdint>

namespace orsin {

/// The largest block worth asking for, in bytes: the largest free region, but not more than what is
/// available, nor more than half the machine where less than that half is available.
[[nodiscard]] constexpr std::uint64_t largest_usable_block(std::uint64_t largest_free_region,
                                                           std::uint64_t available_physical,
                                                           std::uint64_t total_physical) {
  if (largest_free_region <= available_physical) {
    return largest_free_region;
  }
  const std::uint64_t half = total_physical / 2;
  if (available_physical < half && largest_free_region > half) {
    return half;
  }
  return available_physical;
}

}  // namespace orsin
