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

TEST(Date, LeavesADateThatCannotMove) {
  date d(2024, 2, 30, 1, 2, 3);
  d.add_days(1);
  EXPECT_EQ(d.day(), 30);
  EXPECT_EQ(d.year_day(), -1);
}

TEST(Date, ComparesDayAndTime) {
  EXPECT_TRUE(day_of(2024, 3, 5) == day_of(2024, 3, 5));
  EXPECT_TRUE(day_of(2024, 3, 5) != date(2024, 3, 5, 8, 7, 10));
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

TEST(Date, TurnsPosixTimeIntoLocalTimeAndBack) {
  const long long winter = 1704110400;  // 1 January 2024, 12:00 UTC.
  const date d(winter);
  EXPECT_EQ(static_cast<long long>(d), winter);
  EXPECT_EQ(d.year(), 2024);
}

TEST(Date, IsNowWhenMadeFromNothing) {
  const date now;
  const date same("");
  EXPECT_GE(now.year(), 2024);
  EXPECT_LE(same.dow() - now.dow(), 1);
}

}  // namespace
}  // namespace orsin
