// Dates in the user's form: the formats that Windows keeps for the user, set here and put back.
#include <gtest/gtest.h>

#include <string>

#include "base/win/windows.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

class UserFormat {
 public:
  UserFormat(LCTYPE type, const char* format) : type_(type) {
    GetLocaleInfoA(LOCALE_USER_DEFAULT, type_, before_, sizeof(before_));
    SetLocaleInfoA(LOCALE_USER_DEFAULT, type_, format);
  }
  ~UserFormat() { SetLocaleInfoA(LOCALE_USER_DEFAULT, type_, before_); }
  UserFormat(const UserFormat&) = delete;
  UserFormat& operator=(const UserFormat&) = delete;

 private:
  LCTYPE type_;
  char before_[80] = {};  // The longest format that Windows takes.
};

std::string formatted(const date& d, bool with_time) {
  char text[260];
  d.format(text, with_time);
  return text;
}

TEST(DateFormat, FollowsTheUsersForms) {
  const struct {
    const char* day;
    const char* time;
    const char* expected;
  } cases[] = {
      {"dd.MM.yyyy", "HH:mm:ss", "05.03.2024 14:07:09"},
      {"M/d/yyyy", "h:mm:ss tt", "3/5/2024 2:07:09 PM"},
      {"yyyy-MM-dd", "HH'h'mm", "2024-03-05 14h07"},
      {"d/M/yyyy", "H.mm", "5/3/2024 14.07"},
  };
  const date d(2024, 3, 5, 14, 7, 9);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    const UserFormat day(LOCALE_SSHORTDATE, c.day);
    const UserFormat time(LOCALE_STIMEFORMAT, c.time);

    EXPECT_EQ(formatted(d, true), c.expected);
    EXPECT_EQ(formatted(d, false), std::string(c.expected).substr(0, formatted(d, false).size()));
    EXPECT_EQ(std::string(c.expected)[formatted(d, false).size()], ' ');
  }
}

TEST(DateFormat, IsPlainForDaysThatTheSystemDoesNotKnow) {
  EXPECT_EQ(formatted(date(1600, 12, 31, 4, 5, 6), true), "31-12-1600 4:05");
  EXPECT_EQ(formatted(date(2023, 13, 9, 4, 5, 6), false), "9-13-2023");
  EXPECT_EQ(formatted(date(70000, 1, 2, 4, 5, 6), false), "2-01-70000");
}

}  // namespace
}  // namespace orsin
