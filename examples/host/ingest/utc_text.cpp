#include "examples/host/ingest/utc_text.h"

#include <chrono>
#include <cstdio>

namespace host::ingest {
namespace {

std::string formatted(const char* format, std::uint64_t ticks) {
  using std::chrono::days;
  constexpr std::uint64_t kSecondsPerDay = 86400;
  const std::uint64_t seconds = ticks / kTicksPerSecond;
  const auto day_count = static_cast<int>(seconds / kSecondsPerDay);
  const auto rest = static_cast<unsigned int>(seconds % kSecondsPerDay);
  const std::chrono::sys_days first = std::chrono::year(1601) / std::chrono::January / 1;
  const std::chrono::year_month_day day(first + days(day_count));
  char text[40];
  std::snprintf(text, sizeof(text), format, static_cast<int>(day.year()),
                static_cast<unsigned int>(day.month()), static_cast<unsigned int>(day.day()),
                rest / 3600, rest / 60 % 60, rest % 60);
  return text;
}

}  // namespace

std::string iso_time(std::uint64_t ticks) {
  return formatted("%04d-%02u-%02uT%02u:%02u:%02u+00:00", ticks);
}

std::string file_name_time(std::uint64_t ticks) {
  return formatted("%04d-%02u-%02u_%02u%02u%02uZ", ticks);
}

std::string plain_time(std::uint64_t ticks) {
  return formatted("%04d-%02u-%02u %02u:%02u:%02u", ticks);
}

}  // namespace host::ingest
