#include "text/date_scan.h"

#include <gtest/gtest.h>

#include <string>

namespace orsin {
namespace {

struct Scanned {
  bool matched;
  std::string rest;
  ScannedDate fields;
  int extra;
};

int current_year() {
  return 2026;
}

Scanned scan(const char* text, const char* pattern) {
  Scanned result = {false, "", {2001, 2, 3, 4, 5, 6}, 100};
  const char* rest = scan_date(text, pattern, current_year, result.fields, &result.extra);
  result.matched = rest != nullptr;
  result.rest = rest != nullptr ? rest : "";
  return result;
}

std::string fields(const Scanned& s) {
  const ScannedDate& f = s.fields;
  return std::to_string(f.year) + "-" + std::to_string(f.month) + "-" + std::to_string(f.day) +
         " " + std::to_string(f.hour) + ":" + std::to_string(f.minute) + ":" +
         std::to_string(f.second);
}

TEST(DateScan, ReadsDirectiveByDirective) {
  const struct {
    const char* what;
    const char* text;
    const char* pattern;
    const char* expected;
    const char* rest;
  } cases[] = {
      {"per cent", "%x", "%%", "2001-2-3 4:5:6", "x"},
      {"day name in full", "wednesday!", "%A", "2001-2-3 4:5:6", "!"},
      {"day name abbreviated", "SUNx", "%a", "2001-2-3 4:5:6", "x"},
      {"month name in full", "september", "%B", "2001-9-3 4:5:6", ""},
      {"month name abbreviated", "sep.", "%h", "2001-9-3 4:5:6", "."},
      {"composite C", "Monday, March, 7, 2024", "%C", "2024-3-7 4:5:6", ""},
      {"composite D", "03/07/24", "%D", "2024-3-7 4:5:6", ""},
      {"composite R", "13:14", "%R", "2001-2-3 13:14:6", ""},
      {"composite T", "13:14:15", "%T", "2001-2-3 13:14:15", ""},
      {"composite c", "05-03-2024 14:30:00", "%c", "2024-3-5 14:30:0", ""},
      {"composite r", "11:12:13 PM", "%r", "2001-2-3 23:12:13", ""},
      {"day with blanks", "  7", "%d", "2001-2-7 4:5:6", ""},
      {"day 0", "0", "%d", "2001-2-0 4:5:6", ""},
      {"month with blanks", " 12", "%m", "2001-12-3 4:5:6", ""},
      {"day of the year is not stored", "366", "%j", "2001-2-3 4:5:6", ""},
      {"hour", "23", "%H", "2001-2-3 23:5:6", ""},
      {"hour 24 in G", "24", "%G", "2001-2-3 0:5:6", ""},
      {"minute skipped at a blank", " x", "%M", "2001-2-3 4:5:6", " x"},
      {"midnight AM", "AM", "%p", "2001-2-3 4:5:6", ""},
      {"four-digit year", "1999", "%Y", "1999-2-3 4:5:6", ""},
      {"two-digit year", "99", "%y", "2099-2-3 4:5:6", ""},
      {"limited digits", "12345", "%2Y", "2012-2-3 4:5:6", "345"},
      {"literal", "T7", "T%d", "2001-2-7 4:5:6", ""},
      {"blanks in the pattern skip a run", "   7", " %d", "2001-2-7 4:5:6", ""},
      {"unknown letters are ignored", "7", "%q%d", "2001-2-7 4:5:6", ""},
      {"pattern ends first", "7 rest", "%d", "2001-2-7 4:5:6", " rest"},
      {"text ends first", "7", "%d-%m-%Y", "2001-2-7 4:5:6", ""},
      {"a number before a blank ends its group", "5 March", "%d-%m %B", "2001-3-5 4:5:6", ""},
      {"nothing", "", "%d", "2001-2-3 4:5:6", ""},
      {"per cent at the pattern's end", "%x", "%", "2001-2-3 4:5:6", "x"},
      {"per cent behind a digit", "%x", "%3", "2001-2-3 4:5:6", "x"},
      {"day name in full where it could be short", "Sunday", "%a", "2001-2-3 4:5:6", ""},
      {"day name that goes on", "Mondays", "%A", "2001-2-3 4:5:6", "s"},
      {"month name in full by its short letter", "AUGUST", "%b", "2001-8-3 4:5:6", ""},
      {"month name that goes on", "maybe", "%B", "2001-5-3 4:5:6", "be"},
      {"composite X", "13:14:15", "%X", "2001-2-3 13:14:15", ""},
      {"composite x", "05-03-2024", "%x", "2024-3-5 4:5:6", ""},
      {"composite without its end", "05-03", "%x", "2001-3-5 4:5:6", ""},
      {"composites in a row", "01/02/03 04:05:06", "%D %T", "2003-1-2 4:5:6", ""},
      {"day by e", " 31", "%e", "2001-2-31 4:5:6", ""},
      {"at most two digits of a day", "317", "%d", "2001-2-31 4:5:6", "7"},
      {"one digit of a day", "31", "%1d", "2001-2-3 4:5:6", "1"},
      {"nine digits of a day", "0000031", "%9d", "2001-2-31 4:5:6", ""},
      {"at most three digits of the year's day", "3651", "%j", "2001-2-3 4:5:6", "1"},
      {"day 0 of the year is not stored", "0", "%j", "2001-2-3 4:5:6", ""},
      {"hour by k", "0", "%k", "2001-2-3 0:5:6", ""},
      {"hour by I", "11", "%I", "2001-2-3 11:5:6", ""},
      {"hour by l", "0", "%l", "2001-2-3 0:5:6", ""},
      {"hour 23 in G", "23", "%G", "2001-2-3 23:5:6", ""},
      {"hour 0 in G", "0", "%G", "2001-2-3 0:5:6", ""},
      {"minute 0", "00", "%M", "2001-2-3 4:0:6", ""},
      {"minute", "59", "%M", "2001-2-3 4:59:6", ""},
      {"second", "00", "%S", "2001-2-3 4:5:0", ""},
      {"second skipped at a blank", " x", "%S", "2001-2-3 4:5:6", " x"},
      {"noon PM", "12 pm", "%H %p", "2001-2-3 12:5:6", ""},
      {"afternoon", "PMx", "%p", "2001-2-3 16:5:6", "x"},
      {"year skipped at a blank", "   ", "%Y", "2001-2-3 4:5:6", ""},
      {"year behind blanks", "  2024", "%Y", "2024-2-3 4:5:6", ""},
      {"short year of the current century", "24", "%Y", "2024-2-3 4:5:6", ""},
      {"year of three digits", "007", "%3y", "7-2-3 4:5:6", ""},
      {"at most four digits of Y", "20241", "%Y", "2024-2-3 4:5:6", "1"},
      {"year 0 of the current century", "00", "%y", "2000-2-3 4:5:6", ""},
      {"at most two digits of y", "2024", "%y", "2020-2-3 4:5:6", "24"},
      {"year of nine digits", "123456789", "%9Y", "123456789-2-3 4:5:6", ""},
      {"zone", "7x", "%Z", "2001-2-3 4:5:6", "x"},
      {"one digit of a zone, 0 too", "07", "%Z", "2001-2-3 4:5:6", "7"},
      {"letters behind y", "7", "%z%{%d", "2001-2-7 4:5:6", ""},
      {"a blank in the pattern may stand for none", "7", " %d", "2001-2-7 4:5:6", ""},
      {"a number before a blank ends the pattern", "5 7", "%d%m", "2001-2-5 4:5:6", " 7"},
      {"a name before a blank ends nothing", "Mar 7", "%b%d", "2001-3-7 4:5:6", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Scanned result = scan(c.text, c.pattern);
    EXPECT_TRUE(result.matched);
    EXPECT_EQ(fields(result), c.expected);
    EXPECT_EQ(result.rest, c.rest);
  }
}

TEST(DateScan, RefusesWhatDoesNotMatch) {
  const struct {
    const char* text;
    const char* pattern;
  } cases[] = {
      {"x", "%d"},
      {"32", "%d"},
      {"0", "%m"},
      {"13", "%m"},
      {"367", "%j"},
      {"24", "%H"},
      {"25", "%G"},
      {"60", "%M"},
      {"60", "%S"},
      {"nonday", "%A"},
      {"nomonth", "%B"},
      {"XM", "%p"},
      {"a", "b"},
      {"x", "%Y"},
      {"x", "%%"},
      {"1/2", "%c"},
      {"x", "%o"},
      {"x", "%"},
      {"x", "%j"},
      {"x", "%H"},
      {"x", "%k"},
      {"x", "%M"},
      {"x", "%S"},
      {"x", "%G"},
      {"x", "%Z"},
      {" 7", "%H"},
      {" 7", "%j"},
      {"12", "%l"},
      {"32", "%e"},
      {"A", "%p"},
      {"Su", "%a"},
      {"Ja", "%b"},
      {"13/01/24", "%D"},
      {"24:00", "%R"},
      {"Xday, March", "%C"},
      {"01-13-2024 00:00:00", "%c"},
      {"12:00:00 AM", "%r"},
      {"-5", "%d"},
      {"+5", "%Y"},
  };
  for (const auto& c : cases) {
    EXPECT_FALSE(scan(c.text, c.pattern).matched) << c.text << " by " << c.pattern;
  }
}

TEST(DateScan, KeepsRefusingTwelveOnATwelveHourClock) {
  EXPECT_FALSE(scan("12:00:00 PM", "%I:%M:%S %p").matched);
}

TEST(DateScan, TurnsHoursByHalfOfDay) {
  EXPECT_EQ(scan("11PM", "%I%p").fields.hour, 23);
  EXPECT_EQ(scan("12am", "%H%p").fields.hour, 0);
  EXPECT_EQ(scan("12pm", "%H%p").fields.hour, 12);
  EXPECT_FALSE(scan("13AM", "%H%p").matched);
}

TEST(DateScan, AddsToTheExtra) {
  EXPECT_EQ(scan("24", "%G").extra, 124);
  EXPECT_EQ(scan("07", "%o").extra, 107);
  EXPECT_TRUE(scan("0", "%o").matched);
}

TEST(DateScan, DoesWithoutAnExtra) {
  ScannedDate fields;
  EXPECT_NE(scan_date("24", "%G", current_year, fields, nullptr), nullptr);
  EXPECT_NE(scan_date("07", "%o", current_year, fields, nullptr), nullptr);
}

TEST(DateScan, FindsEveryName) {
  const char* const days[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                              "Thursday", "Friday", "Saturday"};
  const char* const months[] = {"January",   "February", "March",    "April",
                                "May",       "June",     "July",     "August",
                                "September", "October",  "November", "December"};
  for (const char* day : days) {
    EXPECT_EQ(scan(day, "%a").rest, "") << day;
    EXPECT_EQ(scan(std::string(day, 3).c_str(), "%A").rest, "") << day;
    EXPECT_TRUE(scan(day, "%A").matched) << day;
  }
  int number = 0;
  for (const char* month : months) {
    ++number;
    EXPECT_EQ(scan(month, "%h").fields.month, number);
    EXPECT_EQ(scan(std::string(month, 3).c_str(), "%B").fields.month, number);
  }
}

TEST(DateScan, LeavesTheExtraToTheOutermostPattern) {
  EXPECT_EQ(scan("24:00", "%G:%M").extra, 124);
  EXPECT_EQ(scan("05 05", "%o %O").extra, 110);
  EXPECT_EQ(scan("23", "%G").extra, 100);
}

TEST(DateScan, AddsShortYearsToTheCurrentCentury) {
  ScannedDate fields;
  EXPECT_NE(scan_date(
                "99", "%y", [] { return 2000; }, fields, nullptr),
            nullptr);
  EXPECT_EQ(fields.year, 2099);
  EXPECT_NE(scan_date(
                "00", "%y", [] { return 1999; }, fields, nullptr),
            nullptr);
  EXPECT_EQ(fields.year, 1900);
}

TEST(DateScan, AsksForTheCurrentYearOnlyWhereItMatters) {
  ScannedDate fields;
  EXPECT_NE(scan_date("05-03-2024 14:30:00", "%c", nullptr, fields, nullptr), nullptr);
  EXPECT_EQ(fields.year, 2024);
}

TEST(DateScan, KeepsFieldsReadBeforeAMismatch) {
  const Scanned result = scan("7-x", "%d-%m");
  EXPECT_FALSE(result.matched);
  EXPECT_EQ(result.fields.day, 7);
}

}  // namespace
}  // namespace orsin
