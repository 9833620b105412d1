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

// The system's own texts for a time.
SYSTEMTIME local_time(unsigned long long ts) {
  const ULONGLONG ticks = (ts + 11644473600) * 10000000;
  const FILETIME utc = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  FILETIME local;
  SYSTEMTIME time;
  EXPECT_NE(FileTimeToLocalFileTime(&utc, &local), 0);
  EXPECT_NE(FileTimeToSystemTime(&local, &time), 0);
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
