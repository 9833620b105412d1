// Waiting a little for another processor before sleeping.
//
// A sleep and a wake-up cost more than a short job takes, so a waiter first looks again and again
// for about 50 microseconds. It gives its time slice away every few looks: with as many runnable
// threads as processors, a plain pause loop would hold up the very thread it waits for.
#pragma once

namespace orsin {

namespace port {

/// Tells the processor that this is a waiting loop.
void pause_processor() noexcept;

/// Lets another thread that is ready run on this processor; returns at once if there is none.
void yield_processor() noexcept;

}  // namespace port

/// Looks until `is_done()` or until the time is over; true when it is done.
template <typename Condition>
[[nodiscard]] bool spin_until(Condition is_done);

}  // namespace orsin

#include "orsincore/primitives.h"

template <typename Condition>
bool orsin::spin_until(Condition is_done) {
  constexpr double kSpinSeconds = 50e-6;
  constexpr int kLooksPerYield = 8;
  constexpr int kYieldsMax = 1000;  // Ends the loop where the clock does not run.
  double deadline = 0.0;
  for (int yields = 0; yields < kYieldsMax; ++yields) {
    for (int look = 0; look < kLooksPerYield; ++look) {
      if (is_done()) {
        return true;
      }
      port::pause_processor();
    }
    port::yield_processor();
    const double now = mp_getclock();
    if (deadline == 0.0) {
      deadline = now + kSpinSeconds;
    } else if (now >= deadline) {
      return is_done();
    }
  }
  return is_done();
}
