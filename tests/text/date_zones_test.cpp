// Dates in time zones that the test sets. Wine knows the rules of daylight saving only for the zone
// that a process was started in, so those are tested natively, and through the sample host.
#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "orsincore/text.h"
#include "tests/support/environment_variable.h"

namespace orsin {
namespace {

class Zone {
 public:
  explicit Zone(const char* rule) : variable_("TZ", rule) { tzset(); }

 private:
  // Runs after the variable is gone.
  struct Reset {
    ~Reset() { tzset(); }
  } reset_;
  test::EnvironmentVariable variable_;
};

std::string numeric(const date& d) {
  char text[260];
  d.format_num(text, true);
  return text;
}

constexpr long long kWinterNoon = 1704110400;  // 1 January 2024, 12:00 UTC.

TEST(DateZones, ReadPosixTimesInTheirLocalTime) {
  const struct {
    const char* rule;
    const char* expected;
  } cases[] = {{"UTC0", "20240101_120000"},
               {"JST-9", "20240101_210000"},
               {"HST10", "20240101_020000"},
               {"NZX-12", "20240102_000000"},
               {"IST-5:30", "20240101_173000"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    const Zone zone(c.rule);

    const date d(kWinterNoon);

    EXPECT_EQ(numeric(d), c.expected);
    EXPECT_EQ(static_cast<long long>(d), kWinterNoon);
  }
}

TEST(DateZones, ReachFromTheEpochToFarYears) {
  const Zone zone("UTC0");
  EXPECT_EQ(numeric(date(0LL)), "19700101_000000");
  EXPECT_EQ(numeric(date(2147483648LL)), "20380119_031408");
  EXPECT_EQ(numeric(date(32503680000LL - 1)), "29991231_235959");
}

TEST(DateZones, TellEveryHourOfAYear) {
  const Zone zone("UTC0");
  constexpr int kHours = 366 * 24;
  long long posix = kWinterNoon - 12 * 3600;
  const long first = date(posix).dow();
  for (int hour = 0; hour < kHours; ++hour, posix += 3600) {
    const date d(posix);
    ASSERT_EQ(d.dow(), first + hour / 24);
    ASSERT_EQ(static_cast<long long>(d), posix);
  }
}

#if !defined(_WIN32)
constexpr long long kSummer = 1720008000;  // 3 July 2024, 12:00 UTC.
constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* kSydney = "AEST-10AEDT,M10.1.0,M4.1.0/3";

TEST(DateZones, ReadSummerTimesByTheClockOnTheWall) {
  const Zone zone(kBerlin);
  EXPECT_EQ(numeric(date(kWinterNoon)), "20240101_130000");
  EXPECT_EQ(numeric(date(kSummer)), "20240703_140000");
}

TEST(DateZones, KeepsStandardTimeInSummer) {
  {
    const Zone zone(kBerlin);
    EXPECT_EQ(static_cast<long long>(date(kWinterNoon)), kWinterNoon);
    EXPECT_EQ(static_cast<long long>(date(kSummer)), kSummer + 3600);
  }
  const Zone zone(kSydney);
  EXPECT_EQ(static_cast<long long>(date(kSummer)), kSummer);
  EXPECT_EQ(static_cast<long long>(date(kWinterNoon)), kWinterNoon + 3600);
}

TEST(DateZones, TellTheHourThatComesTwiceApart) {
  const Zone zone(kBerlin);
  // 27 October 2024: 02:30 summer time, then 02:30 standard time.
  EXPECT_EQ(numeric(date(1729989000LL)), "20241027_023000");
  EXPECT_EQ(numeric(date(1729992600LL)), "20241027_023000");
  EXPECT_EQ(static_cast<long long>(date(1729989000LL)), 1729992600);
}
#endif

}  // namespace
}  // namespace orsin
