// Times of files as text.
#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "base/win/windows.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"

namespace orsin {
namespace {

using test::below;

constexpr unsigned long long kTime = 1706704496;  // 2024-01-31 12:34:56 UTC.

// A user whom no test machine is: where they live and how they count the years. What the system
// does for such a user is documented; the stand-ins below do it.
struct User {
  bool lives_in_berlin = false;
  bool counts_by_buddha = false;
};
User user;

template <typename Function>
Function of_the_system(const char* name) {
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32.dll"), name)));
}

BOOL WINAPI to_zone(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* utc, SYSTEMTIME* local) {
  static const auto system =
      of_the_system<decltype(&SystemTimeToTzSpecificLocalTime)>("SystemTimeToTzSpecificLocalTime");
  TIME_ZONE_INFORMATION berlin = {};
  berlin.Bias = -60;
  berlin.StandardDate = {0, 10, 0, 5, 3, 0, 0, 0};  // The last Sundays of October and March.
  berlin.DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};
  berlin.DaylightBias = -60;
  return system(zone == nullptr && user.lives_in_berlin ? &berlin : zone, utc, local);
}

// Takes the offset of the moment of the call, here that of winter.
BOOL WINAPI to_local_now(const FILETIME* utc, FILETIME* local) {
  static const auto system =
      of_the_system<decltype(&FileTimeToLocalFileTime)>("FileTimeToLocalFileTime");
  if (!user.lives_in_berlin) {
    return system(utc, local);
  }
  ULARGE_INTEGER ticks = {{utc->dwLowDateTime, utc->dwHighDateTime}};
  ticks.QuadPart += 36000000000ULL;
  *local = {ticks.LowPart, ticks.HighPart};
  return TRUE;
}

int WINAPI format_date(LCID locale, DWORD flags, const SYSTEMTIME* time, LPCSTR picture, LPSTR text,
                       int size) {
  static const auto system = of_the_system<decltype(&GetDateFormatA)>("GetDateFormatA");
  SYSTEMTIME shown = *time;
  if (locale == LOCALE_USER_DEFAULT && user.counts_by_buddha) {
    shown.wYear = static_cast<WORD>(shown.wYear + 543);
  }
  return system(locale, flags, &shown, picture, text, size);
}

// The system's own texts for a time.
SYSTEMTIME local_time(unsigned long long ts) {
  const ULONGLONG ticks = (ts + 11644473600) * 10000000;
  const FILETIME utc = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  SYSTEMTIME universal;
  SYSTEMTIME time;
  EXPECT_NE(FileTimeToSystemTime(&utc, &universal), 0);
  EXPECT_NE(SystemTimeToTzSpecificLocalTime(nullptr, &universal, &time), 0);
  return time;
}

std::string users_date(const SYSTEMTIME& time) {
  char text[100] = {};
  EXPECT_GT(GetDateFormatA(LOCALE_USER_DEFAULT, 0, &time, nullptr, text, sizeof(text)), 0);
  return text;
}

std::string users_time(const SYSTEMTIME& time) {
  char text[100] = {};
  EXPECT_GT(GetTimeFormatA(LOCALE_USER_DEFAULT, TIME_NOSECONDS | TIME_FORCE24HOURFORMAT, &time,
                           nullptr, text, sizeof(text)),
            0);
  return text;
}

class DateTexts : public testing::Test {
 protected:
  DateTexts() {
    directory_.write("take.wav", "x");
    EXPECT_TRUE(file_set_modified_ts(path().c_str(), kTime));
  }
  ~DateTexts() override { user = {}; }

  std::string path() const { return below(directory_, "take.wav"); }
  std::string missing() const { return below(directory_, "missing.wav"); }

  std::string mod_date(int mode, int size = 100) {
    char text[100] = "untouched";
    EXPECT_TRUE(file_get_mod_date_str(path().c_str(), text, size, mode));
    return text;
  }

  test::TemporaryDirectory directory_;
};

TEST_F(DateTexts, WriteUniversalTimeWithAZ) {
  EXPECT_EQ(mod_date(1), "2024-01-31T12:34:56Z");
  EXPECT_EQ(mod_date(3), "2024-01-31T12:34:56Z");
  EXPECT_EQ(mod_date(-1), "2024-01-31T12:34:56Z");
}

TEST_F(DateTexts, WriteUniversalTimeWithAnOffset) {
  EXPECT_EQ(mod_date(2), "2024-01-31T12:34:56+00:00");
}

TEST_F(DateTexts, WriteTheLocalDateAlone) {
  // The last second before midnight UTC is another day in most time zones east or west of it.
  for (const unsigned long long ts : {kTime, kTime / 86400 * 86400 - 1, kTime / 86400 * 86400}) {
    SCOPED_TRACE(ts);
    ASSERT_TRUE(file_set_modified_ts(path().c_str(), ts));
    const SYSTEMTIME local = local_time(ts);
    char expected[16];
    std::snprintf(expected, sizeof(expected), "%04d-%02d-%02d", local.wYear, local.wMonth,
                  local.wDay);

    EXPECT_EQ(mod_date(0), expected);
  }
}

TEST_F(DateTexts, CountTheYearsOfTheCommonCalendar) {
  user.counts_by_buddha = true;

  EXPECT_EQ(mod_date(0).substr(0, 5), "2024-");
  EXPECT_EQ(mod_date(1), "2024-01-31T12:34:56Z");
  EXPECT_EQ(mod_date(2), "2024-01-31T12:34:56+00:00");
}

TEST_F(DateTexts, TakeSummerAndWinterByTheDateItself) {
  constexpr unsigned long long kSummer = 1722378600;  // 2024-07-30 22:30:00 UTC.
  user.lives_in_berlin = true;
  char text[100] = {};

  ASSERT_TRUE(file_set_modified_ts(path().c_str(), kSummer));
  EXPECT_EQ(mod_date(0), "2024-07-31");
  EXPECT_TRUE(file_ts_2_txt(kSummer, text, sizeof(text)));
  EXPECT_NE(std::string(text).find("0:30"), std::string::npos) << text;

  ASSERT_TRUE(file_set_modified_ts(path().c_str(), kTime));
  EXPECT_TRUE(file_get_local_datetime_str(path().c_str(), text, sizeof(text)));
  EXPECT_NE(std::string(text).find("13:34"), std::string::npos) << text;
}

TEST_F(DateTexts, WriteTheUsersDateAndTheTimeWithoutSeconds) {
  const SYSTEMTIME local = local_time(kTime);
  const std::string expected = users_date(local) + " " + users_time(local);
  char text[100] = {};

  EXPECT_TRUE(file_ts_2_txt(kTime, text, sizeof(text)));
  EXPECT_EQ(text, expected);

  text[0] = '\0';
  EXPECT_TRUE(file_get_local_datetime_str(path().c_str(), text, sizeof(text)));
  EXPECT_EQ(text, expected);
}

TEST_F(DateTexts, ReachBackTo1970) {
  const SYSTEMTIME local = local_time(0);
  char text[100] = {};

  EXPECT_TRUE(file_ts_2_txt(0, text, sizeof(text)));

  EXPECT_EQ(text, users_date(local) + " " + users_time(local));
}

TEST_F(DateTexts, NeedAFile) {
  char text[100] = "untouched";

  EXPECT_FALSE(file_get_local_datetime_str(missing().c_str(), text, sizeof(text)));
  EXPECT_FALSE(file_get_mod_date_str(missing().c_str(), text, sizeof(text), 0));
  EXPECT_FALSE(file_get_mod_date_str(missing().c_str(), text, sizeof(text), 1));

  EXPECT_STREQ(text, "untouched");
}

TEST_F(DateTexts, StayInsideASmallBuffer) {
  for (int mode = 0; mode <= 2; ++mode) {
    for (int size = 1; size < 30; ++size) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << ", size " << size);
      char text[40];
      std::fill(text, text + sizeof(text), '#');

      EXPECT_TRUE(file_get_mod_date_str(path().c_str(), text, size, mode));

      EXPECT_LT(std::char_traits<char>::length(text), static_cast<std::size_t>(size));
      EXPECT_EQ(text[size], '#');
    }
  }
  char text[40] = "##";
  EXPECT_TRUE(file_ts_2_txt(kTime, text, 0));
  EXPECT_EQ(text[0], '#');
}

TEST_F(DateTexts, KeepThePiecesThatFit) {
  EXPECT_EQ(mod_date(1, 11), "2024-01-31");
  EXPECT_EQ(mod_date(1, 12), "2024-01-31T");
  EXPECT_EQ(mod_date(1, 20), "2024-01-31T12:34:56");
  EXPECT_EQ(mod_date(2, 23), "2024-01-31T12:34:56+00");
}

TEST_F(DateTexts, NeedABuffer) {
  EXPECT_FALSE(file_ts_2_txt(1000, nullptr, 32));
  EXPECT_FALSE(file_get_local_datetime_str(path().c_str(), nullptr, 32));
  EXPECT_FALSE(file_get_mod_date_str(path().c_str(), nullptr, 32, 1));
}

}  // namespace
}  // namespace orsin

// The library's calls go through these pointers instead of the import library's.
extern "C" {
extern decltype(&SystemTimeToTzSpecificLocalTime) __imp_SystemTimeToTzSpecificLocalTime;
extern decltype(&FileTimeToLocalFileTime) __imp_FileTimeToLocalFileTime;
extern decltype(&GetDateFormatA) __imp_GetDateFormatA;
decltype(&SystemTimeToTzSpecificLocalTime) __imp_SystemTimeToTzSpecificLocalTime = orsin::to_zone;
decltype(&FileTimeToLocalFileTime) __imp_FileTimeToLocalFileTime = orsin::to_local_now;
decltype(&GetDateFormatA) __imp_GetDateFormatA = orsin::format_date;
}
