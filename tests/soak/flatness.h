// Whether a figure of a long run stays flat, however much it jitters.
//
// The figures are taken at rest, when all work is between two steps, so what they hold is what the
// process keeps. The first third of the run is warm-up: caches fill, heaps are touched, the system's
// pools of threads find their size. The rest is cut into halves. The figure is flat when the median
// of the second half is above that of the first by no more than an allowance. Medians, as single
// looks may fall into a moment when the system has something of its own at work; halves, as a leak
// of one unit every few looks, which no two neighbouring looks would tell from noise, lifts the
// whole second half.
#pragma once

#include <cstdint>
#include <vector>

namespace orsin::soak {

struct Flatness {
  bool is_flat = false;     // Never with too few looks to judge.
  std::int64_t before = 0;  // The median of the half after warm-up.
  std::int64_t after = 0;   // That of the last half.
  std::int64_t growth() const { return after - before; }
};

/// @param figures    One a look, evenly spaced over the whole run.
/// @param allowance  By how much the second half may be above the first.
[[nodiscard]] Flatness judge_flatness(const std::vector<std::int64_t>& figures,
                                      std::int64_t allowance);

}  // namespace orsin::soak
