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

Scanned scan(const char* text, const char* pattern) {
  Scanned result = {false, "", {2001, 2, 3, 4, 5, 6}, 100};
  const char* rest = scan_date(text, pattern, 2026, result.fields, &result.extra);
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
      {"x", "%d"},  {"32", "%d"}, {"0", "%m"},  {"13", "%m"},     {"367", "%j"},     {"24", "%H"},
      {"25", "%G"}, {"60", "%M"}, {"60", "%S"}, {"nonday", "%A"}, {"nomonth", "%B"}, {"XM", "%p"},
      {"a", "b"},   {"x", "%Y"},  {"x", "%%"},  {"1/2", "%c"},    {"x", "%o"},
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
  ScannedDate fields;
  EXPECT_NE(scan_date("24", "%G", 2026, fields, nullptr), nullptr);
}

TEST(DateScan, KeepsFieldsReadBeforeAMismatch) {
  const Scanned result = scan("7-x", "%d-%m");
  EXPECT_FALSE(result.matched);
  EXPECT_EQ(result.fields.day, 7);
}

}  // namespace
}  // namespace orsin
