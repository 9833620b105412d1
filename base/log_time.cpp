// The time of day in the head of a log line; see log_time.h.
#include "base/log_time.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace orsin {
namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr std::size_t kSecondsBytes = 5;

void write_two_digits(int value, char* text) {
  text[0] = static_cast<char>('0' + value / 10);
  text[1] = static_cast<char>('0' + value % 10);
}

void write_seconds(double seconds, char* text) {
  constexpr double kNearTie = 1e-6;  // Far above the error of the product.
  const double hundredths = seconds * 100;
  const auto whole = static_cast<int>(hundredths);
  const double rest = hundredths - whole;
  if (std::fabs(rest - 0.5) < kNearTie) {
    // Which way this goes depends on digits that the product has lost. Not by a printf: its point
    // is a comma in many locales.
    char exact[kSecondsBytes];
    const char* end = std::to_chars(exact, exact + kSecondsBytes, seconds,  //
                                    std::chars_format::fixed, 2)
                          .ptr;
    const auto length = static_cast<std::size_t>(end - exact);
    text[0] = '0';
    std::memcpy(text + kSecondsBytes - length, exact, length);
    return;
  }
  const int rounded = rest > 0.5 ? whole + 1 : whole;
  write_two_digits(rounded / 100, text);
  text[2] = '.';
  write_two_digits(rounded % 100, text + 3);
}

}  // namespace

TimeOfDay split_time_of_day(double seconds_since_midnight) {
  double t = seconds_since_midnight;
  if (t >= kSecondsPerDay) {
    t -= std::floor(t / kSecondsPerDay) * kSecondsPerDay;
  }
  const int whole = static_cast<int>(t);
  const int hours = whole / 3600;
  const int minutes = (whole - hours * 3600) / 60;
  return {hours, minutes, t - (hours * 60 + minutes) * 60};
}

void write_log_time(const TimeOfDay& time, char text[kLogTimeBytes]) {
  write_two_digits(time.hours, text);
  text[2] = ':';
  write_two_digits(time.minutes, text + 3);
  text[5] = ':';
  write_seconds(time.seconds, text + 6);
}

}  // namespace orsin
