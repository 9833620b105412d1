// The high-resolution counter of native builds, with knobs.
#pragma once

#include <cstdint>
#include <ratio>

namespace orsin::test {

struct FakeClock {
  std::int64_t frequency = std::nano::den;
  bool refuse_frequency = false;
  bool refuse_count = false;
  bool stands_still = false;
  std::int64_t still_count = 0;  // What it shows while it stands.
};

/// The one instance; tests reset it with `fake_clock() = {}`.
FakeClock& fake_clock();

}  // namespace orsin::test
