// What the machine's figures mean for the sizes that the library works with.
#pragma once

#include <algorithm>
#include <cstdint>

namespace orsin {

/// The page size to work with: buffers are never aligned to less than a disk sector.
[[nodiscard]] constexpr int usable_page_size(std::uint32_t system_page_size) {
  constexpr int kPageSizeMin = 512;
  return std::max(static_cast<int>(system_page_size), kPageSizeMin);
}

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
