// The time of day in the head of a log line.
#pragma once

#include <cstddef>

namespace orsin {

struct TimeOfDay {
  int hours;
  int minutes;
  double seconds;
};

/// Splits seconds since midnight. Later days start again at 0.
[[nodiscard]] TimeOfDay split_time_of_day(double seconds_since_midnight);

constexpr std::size_t kLogTimeBytes = 11;

/// Writes what the format "%02d:%02d:%05.2f" gives, without a terminator, in a tenth of the time:
/// the C library's exact decimal expansion of a double costs more than the rest of a line.
void write_log_time(const TimeOfDay& time, char text[kLogTimeBytes]);

}  // namespace orsin
