// A copy for blocks that no cache will hold: stores go past the caches, so that the destination's
// lines are not read first. Slower than memcpy() while source and destination fit into a cache.
#pragma once

#include <cstddef>

namespace orsin {

/// From here on streaming pays, per thread: about what one core's share of the caches holds.
constexpr std::size_t kStreamingBytesMin = 2 * 1024 * 1024;

/// Copies like memcpy(); the ranges must not overlap. All stores are visible to other threads when
/// it returns.
void streaming_copy(void* destination, const void* source, std::size_t count);

}  // namespace orsin
