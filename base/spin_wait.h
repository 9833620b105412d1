// Waiting a little for another processor before sleeping.
//
// A sleep and a wake-up cost more than a short job takes, so a waiter first looks again and again
// for some microseconds. It does not give its time slice away meanwhile: on a busy machine that
// costs whole slices, and lets threads of lower priority go first. Nor does it go on when others
// have had the processor between two looks at the clock: then they want it, and sleeping is right.
#pragma once

#include <chrono>

namespace orsin {

namespace port {

/// Tells the processor that this is a waiting loop.
void pause_processor() noexcept;

/// Lets another thread that is ready run on this processor; returns at once if there is none.
void yield_processor() noexcept;

}  // namespace port

/// Looks until `is_done()`, until the time is over, or until others want the processor. True when it
/// is done.
template <typename Condition>
[[nodiscard]] bool spin_until(Condition is_done, std::chrono::microseconds time) {
  using Clock = std::chrono::steady_clock;
  constexpr int kLooksPerReading = 8;
  constexpr std::chrono::microseconds kInterruption(5);  // Far more than the looks take.
  if (is_done()) {
    return true;
  }
  const Clock::time_point begin = Clock::now();
  for (Clock::time_point last = begin;;) {
    for (int look = 0; look < kLooksPerReading; ++look) {
      port::pause_processor();
      if (is_done()) {
        return true;
      }
    }
    const Clock::time_point now = Clock::now();
    if (now - begin >= time || now - last >= kInterruption) {
      return is_done();
    }
    last = now;
  }
}

}  // namespace orsin
