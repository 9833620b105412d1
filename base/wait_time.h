// Nanoseconds, as the interface gives them, into the whole milliseconds that the platform waits.
//
// The platform's waits take 32 bits, of which 0xFFFFFFFF means "for ever"; a wait with a limit must
// never become one without. Longer limits are cut to the longest that can be asked for.
#pragma once

#include <cstdint>

namespace orsin {

constexpr long long kNanosecondsPerMillisecond = 1'000'000;
constexpr std::uint32_t kForeverMs = 0xFFFFFFFF;

/// Whole milliseconds, rounded toward zero; 0 for negative times. Exactly 0xFFFFFFFF is kept, so
/// that the caller can refuse it; anything longer becomes 0xFFFFFFFE.
constexpr std::uint32_t whole_milliseconds(long long nanoseconds) {
  const long long milliseconds = nanoseconds / kNanosecondsPerMillisecond;
  if (milliseconds <= 0) {
    return 0;
  }
  if (milliseconds > kForeverMs) {
    return kForeverMs - 1;
  }
  return static_cast<std::uint32_t>(milliseconds);
}

}  // namespace orsin
