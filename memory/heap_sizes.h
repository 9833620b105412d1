// How large the standard heaps shall be.
//
// Everything follows from what the machine has available and from the lines of "memory.cfg"; sizes
// are bytes. The arithmetic is unsigned: on a machine with hardly any memory the Frame size wraps to
// a huge one, and its creation then halves it until it can be had.
#pragma once

#include <cstdint>
#include <string_view>

#include "orsincore/memory.h"

namespace orsin {

constexpr std::uint64_t kMib = std::uint64_t{1} << 20;
constexpr std::uint64_t kGib = std::uint64_t{1} << 30;

struct HeapSizes {
  std::uint64_t frame = 0;
  std::uint64_t proxy = 0;
  std::uint64_t audio = 0;
  std::uint64_t image = 0;
};

/// What a heap falls back to, and never is configured below.
constexpr HeapSizes kHeapMinimum = {256 * kMib, 128 * kMib, 128 * kMib, 32 * kMib};

/// The sizes without a configuration, not yet raised to the minimum.
[[nodiscard]] HeapSizes default_heap_sizes(const mem_info_str& info);

/// Applies one line of "memory.cfg": "frame_heap_size=512" and the like, in MiB. Other lines, and
/// lines without a number, change nothing.
void apply_configuration_line(std::string_view line, HeapSizes& sizes);

/// Raises each size to its minimum.
void raise_to_minimum(HeapSizes& sizes);

}  // namespace orsin
