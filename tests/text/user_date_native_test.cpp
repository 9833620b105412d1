// Dates as a user has settled on them who wants them long.
#include <gtest/gtest.h>

#include <string>

#include "orsincore/text.h"
#include "tests/platform/user_date.h"

namespace orsin {
namespace {

constexpr std::size_t kOutBytes = 260;

class LongUserDate : public testing::Test {
 protected:
  ~LongUserDate() override { test::user_date().clear(); }

  // As format() leaves it, with what stands behind the room that it may use.
  static std::string formatted() {
    std::string out(kOutBytes + 2, '~');
    date(2024, 3, 5, 8, 7, 9).format(out.data(), true);
    return out;
  }
};

TEST_F(LongUserDate, FillsItsRoomAndNoMore) {
  const std::string day(kOutBytes - 1 - std::string(" 08:07:09").size(), 'd');
  test::user_date() = day;

  EXPECT_EQ(formatted(), day + " 08:07:09" + '\0' + "~~");
}

TEST_F(LongUserDate, CutsTheTimeOff) {
  const std::string day(kOutBytes - std::string(" 08:07:09").size(), 'd');
  test::user_date() = day;

  EXPECT_EQ(formatted(), day + " 08:07:0" + '\0' + "~~");
}

TEST_F(LongUserDate, HasNumbersInsteadWhereItHasNoRoom) {
  test::user_date() = std::string(kOutBytes, 'd');

  EXPECT_STREQ(formatted().c_str(), "5-03-2024 8:07");
}

}  // namespace
}  // namespace orsin
