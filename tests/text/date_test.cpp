#include <gtest/gtest.h>

#include <string>

#include "orsincore/text.h"

namespace orsin {
namespace {

date day_of(int year, int month, int day) {
  return date(year, month, day, 8, 7, 9);
}

std::string numeric(const date& d) {
  char text[260];
  d.format_num(text, true);
  return text;
}

// An independent calendar: counts one day after the other.
TEST(Date, NumbersEveryDayFromYear1To9999) {
  const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  long number = 0;
  for (int year = 1; year <= 9999; ++year) {
    const bool leap = year % 400 == 0 || (year % 100 != 0 && year % 4 == 0);
    int year_day = 0;
    for (int month = 1; month <= 12; ++month) {
      const int length = lengths[month - 1] + (month == 2 && leap ? 1 : 0);
      ASSERT_EQ(date::max_month_day(year, month), length);
      for (int day = 1; day <= length; ++day) {
        const date d(year, month, day, 0, 0, 0);
        ASSERT_EQ(d.dow(), ++number) << year << ' ' << month << ' ' << day;
        ASSERT_EQ(d.year_day(), ++year_day);
        ASSERT_EQ(d.week_day(), number % 7 + 1);
      }
    }
    ASSERT_EQ(date(year, 1, 1, 0, 0, 0).max_year_day(), year_day);
    ASSERT_EQ(date::leapyear(year), leap);
  }
}

TEST(Date, BeginsOnAMonday) {
  const date first(1, 1, 1, 0, 0, 0);
  EXPECT_EQ(first.dow(), 1);
  EXPECT_EQ(first.week_day(), 2);
  EXPECT_STREQ(first.day_name(false), "Monday");
  EXPECT_STREQ(first.day_name(true), "Mon");
}

TEST(Date, NumbersDaysBeforeEachYear) {
  EXPECT_EQ(date::year2days(-5), 0);
  EXPECT_EQ(date::year2days(1), 0);
  EXPECT_EQ(date::year2days(2), 365);
  EXPECT_EQ(date::year2days(2024), 738885);
  EXPECT_EQ(day_of(2024, 12, 31).max_year_day(), 366);
  EXPECT_EQ(day_of(1900, 12, 31).max_year_day(), 365);
}

TEST(Date, CountsOnlyTheYearDayBelowYear2) {
  EXPECT_EQ(day_of(0, 3, 1).dow(), 61);  // Year 0 is a leap year.
  EXPECT_EQ(day_of(1, 3, 1).dow(), 60);
}

TEST(Date, KnowsTheLengthOfEachMonth) {
  EXPECT_EQ(date::max_month_day(2024, 2), 29);
  EXPECT_EQ(date::max_month_day(2100, 2), 28);
  EXPECT_EQ(date::max_month_day(2024, 0), 0);
  EXPECT_EQ(date::max_month_day(2024, 13), 0);
}

TEST(Date, StoresWhatItIsGivenUnchecked) {
  const date d(2024, 14, 99, 25, 61, 62);
  EXPECT_EQ(d.month(), 14);
  EXPECT_EQ(d.day(), 99);
  EXPECT_EQ(numeric(d), "20241499_256162");
}

TEST(Date, HasNoYearDayWhereThereIsNoSuchDay) {
  EXPECT_EQ(date(2024, 2, 30, 0, 0, 0).year_day(), -1);
  EXPECT_EQ(date(2023, 2, 29, 0, 0, 0).year_day(), -1);
  EXPECT_EQ(date(2024, 13, 1, 0, 0, 0).year_day(), -1);
  EXPECT_EQ(date(-1, 1, 1, 0, 0, 0).year_day(), -1);
  EXPECT_EQ(date(1, 1, 0, 0, 0, 0).dow(), -1);
}

TEST(Date, NamesMonths) {
  EXPECT_STREQ(day_of(2024, 9, 1).month_name(false), "September");
  EXPECT_STREQ(day_of(2024, 9, 1).month_name(true), "Sep");
  EXPECT_EQ(day_of(2024, 0, 1).month_name(false), nullptr);
}

TEST(Date, WritesFixedForms) {
  char text[260];
  const date d = day_of(2024, 3, 5);
  d.format_num(text, true);
  EXPECT_STREQ(text, "20240305_080709");
  d.format_num(text, false);
  EXPECT_STREQ(text, "20240305");
  d.format_xml(text, true);
  EXPECT_STREQ(text, "2024-03-05T08:07:09");
  d.format_xml(text, false);
  EXPECT_STREQ(text, "2024-03-05");
}

TEST(Date, FallsBackToAPlainFormWhereTheSystemHasNone) {
  char text[260];
  day_of(0, 3, 5).format(text, true);
  EXPECT_STREQ(text, "5-03-0 8:07");
  day_of(0, 3, 5).format(text, false);
  EXPECT_STREQ(text, "5-03-0");
}

TEST(Date, WritesTheUsersFormWithTheTimeBehindIt) {
  char day[260];
  char both[260];
  const date d = day_of(2024, 3, 5);
  d.format(day, false);
  d.format(both, true);
  EXPECT_NE(std::string(day).find("2024"), std::string::npos);
  EXPECT_TRUE(std::string(both).starts_with(std::string(day) + " ")) << both;
}

TEST(Date, MovesByDays) {
  date d = day_of(2024, 2, 28);
  EXPECT_EQ(d.add_days(1), 0);
  EXPECT_EQ(numeric(d), "20240229_080709");
  d = day_of(2024, 12, 31);
  d.add_days(1);
  EXPECT_EQ(numeric(d), "20250101_080709");
  EXPECT_EQ(d.year_day(), 1);
  d.add_days(-366);
  EXPECT_EQ(numeric(d), "20240101_080709");
}

TEST(Date, KeepsTheWrapOfMovesBeyond24855Days) {
  date near = day_of(2000, 1, 1);
  near.add_days(24855);
  EXPECT_EQ(near.dow() - day_of(2000, 1, 1).dow(), 24855);

  date far = day_of(2000, 1, 1);
  far.add_days(24856);
  // 24856 x 86400 seconds less 2^32.
  EXPECT_LT(far.dow(), day_of(2000, 1, 1).dow());
}

TEST(Date, KeepsTheWrapAtEveryEdge) {
  const struct {
    long days;
    const char* expected;
  } cases[] = {
      // Up to here n x 86400 fits 31 bits.
      {24855, "20680119_080709"},
      {-24855, "19311214_080709"},
      // One more and 2^32 seconds are missing, which is no whole number of days.
      {24856, "19311215_013853"},
      {-24856, "20680118_143525"},
      {49710, "20000101_013853"},
      {49711, "20000102_013853"},
      {-49710, "20000101_143525"},
      {99420, "19991231_191037"},
      {1048576, "20121004_161333"},
      {2147483647, "19991231_080709"},
      {-2147483647L - 1, "20000101_080709"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.days);
    date d = day_of(2000, 1, 1);
    EXPECT_EQ(d.add_days(c.days), 0);
    EXPECT_EQ(numeric(d), c.expected);
  }
}

TEST(Date, MovesThroughEveryDayFrom1601To9999) {
  date d = day_of(1601, 1, 1);
  long number = d.dow();
  while (d.year() <= 9999) {
    const date before = d;
    d.add_days(1);
    ASSERT_EQ(d.dow(), ++number) << numeric(before);
    ASSERT_EQ(d.year_day(), before.year_day() == before.max_year_day() ? 1 : before.year_day() + 1);
  }
  EXPECT_EQ(numeric(d), "100000101_080709");
}

TEST(Date, MovesWithinTheYearsOfTheSystem) {
  date first = day_of(1601, 1, 1);
  first.add_days(-1);
  EXPECT_EQ(numeric(first), "16010101_080709");
  date late = day_of(70000, 1, 1);
  late.add_days(1);
  EXPECT_EQ(late.year(), 70000);
}

TEST(Date, LeavesADateThatCannotMove) {
  date d(2024, 2, 30, 1, 2, 3);
  d.add_days(1);
  EXPECT_EQ(d.day(), 30);
  EXPECT_EQ(d.year_day(), -1);
}

TEST(Date, ComparesDayAndTime) {
  EXPECT_TRUE(day_of(2024, 3, 5) == day_of(2024, 3, 5));
  const date others[] = {date(2024, 3, 6, 8, 7, 9), date(2024, 3, 5, 9, 7, 9),
                         date(2024, 3, 5, 8, 6, 9), date(2024, 3, 5, 8, 7, 10)};
  for (const date& other : others) {
    SCOPED_TRACE(numeric(other));
    EXPECT_TRUE(day_of(2024, 3, 5) != other);
  }
}

TEST(Date, KeepsTheLeapDayOutOfDifferences) {
  EXPECT_EQ(day_of(2024, 3, 1) - day_of(2024, 2, 28), 1);
  EXPECT_EQ(day_of(2025, 1, 1) - day_of(2024, 1, 1), 366);
  EXPECT_EQ(day_of(2024, 3, 5) - day_of(2024, 3, 1), 4);
}

TEST(Date, ScansItsDefaultForm) {
  date d;
  char* rest = d.scan("05-03-2024 14:30:00", nullptr, nullptr);
  ASSERT_NE(rest, nullptr);
  EXPECT_EQ(numeric(d), "20240305_143000");
  EXPECT_EQ(d.year_day(), 65);
  EXPECT_EQ(numeric(date("05-03-2024 14:30:00")), "20240305_143000");
}

TEST(Date, ScansXmlForms) {
  date d;
  d.scan_xml("2024-03-05T08:07:09", true);
  EXPECT_EQ(numeric(d), "20240305_080709");
  d.scan_xml("2023-01-02", false);
  EXPECT_EQ(numeric(d), "20230102_080709");
}

TEST(Date, RecomputesNothingAfterAMismatch) {
  date d = day_of(2024, 3, 5);
  const long before = d.dow();
  EXPECT_EQ(d.scan("7-x", "%d-%m", nullptr), nullptr);
  EXPECT_EQ(d.day(), 7);
  EXPECT_EQ(d.dow(), before);
  EXPECT_EQ(d.scan(nullptr, "%d", nullptr), nullptr);
}

TEST(Date, ConvertsWhereANumberOrATextIsExpected) {
  const date from_text = "05-03-2024 14:30:00";
  const date from_number = 1704110400LL;
  const long long posix = from_number;

  EXPECT_EQ(numeric(from_text), "20240305_143000");
  EXPECT_EQ(posix, 1704110400);
}

TEST(Date, ComparesDayNumbersForItsHeirs) {
  struct Heir : date {
    using date::date;
    [[nodiscard]] long after(date* other) const { return cmp(other); }
  };
  date other = day_of(2024, 2, 28);
  EXPECT_EQ(Heir(2024, 3, 1, 0, 0, 0).after(&other), 2);
}

TEST(Date, LeavesMonthsThatDoNotExistOutOfDifferences) {
  EXPECT_EQ(date(2024, 0, 9, 0, 0, 0) - date(2024, 13, 4, 0, 0, 0), 5);
  EXPECT_EQ(date(2024, 0, 9, 0, 0, 0) - date(2024, 1, 4, 0, 0, 0), 5);
}

TEST(Date, KeepsTheDayNumberOfAMismatch) {
  date d = day_of(2024, 3, 5);
  d.scan_xml("2025-12-XX", false);
  EXPECT_EQ(d.year(), 2025);
  EXPECT_EQ(d.month(), 12);
  EXPECT_EQ(d.dow(), day_of(2024, 3, 5).dow());
}

TEST(Date, TurnsPosixTimeIntoLocalTimeAndBack) {
  const long long winter = 1704110400;  // 1 January 2024, 12:00 UTC.
  const date d(winter);
  EXPECT_EQ(static_cast<long long>(d), winter);
  EXPECT_EQ(d.year(), 2024);
  EXPECT_EQ(d.year_day(), date(d.year(), d.month(), d.day(), 0, 0, 0).year_day());
}

TEST(Date, IsNowWhenMadeFromNothing) {
  const date now;
  const date same("");
  const date later;
  EXPECT_GE(now.year(), 2024);
  EXPECT_GE(same.dow(), now.dow());
  EXPECT_LE(same.dow(), later.dow());
}

}  // namespace
}  // namespace orsin
