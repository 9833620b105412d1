// The log's seam for tests; everything else about it is public.
#pragma once

namespace orsin {

/// Splits seconds since midnight into the head's fields. Later days start again at 0.
struct TimeOfDay {
  int hours;
  int minutes;
  double seconds;
};
TimeOfDay split_time_of_day(double seconds_since_midnight);

/// Forgets the line before, its count of repeats and the override, as before the first line. For
/// tests.
void forget_repeats();

}  // namespace orsin
