// Dates from POSIX times and from text.
//
// Rivals: the run-time library's localtime with the same fields and the day number worked out by
// hand; std::get_time() over a stream that is rewound. A good result is 1.1 times the first at most, and a third of the
// time of the second.
#include <benchmark/benchmark.h>

#include <ctime>
#include <iomanip>
#include <sstream>

#include "orsincore/text.h"

namespace {

constexpr long long kFirst = 1704110400;  // 1 January 2024, 12:00 UTC.
constexpr long long kStride = 86400 + 3601;
constexpr int kTimes = 1000;

long long posix_time(int index) {
  return kFirst + index % kTimes * kStride;
}

void from_posix_orsin(benchmark::State& state) {
  int i = 0;
  for (auto _ : state) {
    date d(posix_time(++i));
    benchmark::DoNotOptimize(d);
  }
}

// The same result, worked out by hand.
struct Fields {
  int number;
  int year_day;
  int year;
  int month;
  int day;
  signed char hour;
  signed char minute;
  signed char second;
};

Fields fields_of(const std::tm& local) {
  const int before = local.tm_year + 1900 - 1;
  const int year_day = local.tm_yday + 1;
  return {before * 365 + before / 4 - before / 100 + before / 400 + year_day,
          year_day,
          local.tm_year + 1900,
          local.tm_mon + 1,
          local.tm_mday,
          static_cast<signed char>(local.tm_hour),
          static_cast<signed char>(local.tm_min),
          static_cast<signed char>(local.tm_sec)};
}

void from_posix_localtime(benchmark::State& state) {
  int i = 0;
  for (auto _ : state) {
    const std::time_t posix = posix_time(++i);
    std::tm local = {};
    localtime_s(&local, &posix);
    Fields fields = fields_of(local);
    benchmark::DoNotOptimize(fields);
  }
}

constexpr const char* kText = "2024-03-05 14:30:07";
constexpr const char* kPattern = "%Y-%m-%d %H:%M:%S";

void scan_orsin(benchmark::State& state) {
  date d(kFirst);
  for (auto _ : state) {
    benchmark::DoNotOptimize(d.scan(kText, kPattern, nullptr));
  }
}

void scan_get_time(benchmark::State& state) {
  std::istringstream stream(kText);
  for (auto _ : state) {
    std::tm fields = {};
    stream.clear();
    stream.seekg(0);
    stream >> std::get_time(&fields, kPattern);
    benchmark::DoNotOptimize(fields.tm_sec);
  }
}

void scan_default_orsin(benchmark::State& state) {
  date d(kFirst);
  for (auto _ : state) {
    benchmark::DoNotOptimize(d.scan("05-03-2024 14:30:07", nullptr, nullptr));
  }
}

BENCHMARK(from_posix_orsin)->UseRealTime();
BENCHMARK(from_posix_localtime)->UseRealTime();
BENCHMARK(scan_orsin)->UseRealTime();
BENCHMARK(scan_default_orsin)->UseRealTime();
BENCHMARK(scan_get_time)->UseRealTime();

}  // namespace
