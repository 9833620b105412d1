// What transfers past the system's cache are rounded up to.
#pragma once

#include <cstddef>

namespace host::ingest {

inline constexpr std::size_t kAlignment = 8192;  // Bytes; a multiple of every drive's sector.

/// The next multiple of the alignment.
[[nodiscard]] constexpr std::size_t aligned(std::size_t bytes) {
  return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

}  // namespace host::ingest
