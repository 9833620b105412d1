// What the library itself says of system errors.
#include "base/system_error_text.h"

#include <gtest/gtest.h>

#include <string>

#include "base/log_port.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

TEST(SystemErrorText, IsThatOfTheLastErrorWithoutItsLineEnd) {
  port::set_last_system_error(2);

  const std::string text = SystemErrorText().c_str();

  EXPECT_EQ(text, os_errormsg());
  EXPECT_EQ(std::string("\r\n ").find(text.back()), std::string::npos) << text;
}

TEST(SystemErrorText, OutlivesTheNextOne) {
  const SystemErrorText first(2);
  const std::string text = first.c_str();

  const SystemErrorText second(5);

  EXPECT_EQ(first.c_str(), text);
  EXPECT_NE(second.c_str(), text);
}

TEST(SystemErrorText, LeavesTheLastErrorAsItWas) {
  port::set_last_system_error(2);

  const SystemErrorText another(5);
  EXPECT_EQ(port::last_system_error(), 2U);
  const SystemErrorText unknown(12345);
  EXPECT_EQ(port::last_system_error(), 2U);
}

TEST(SystemErrorText, OfNoErrorIsWhatTheCallerSays) {
  port::set_last_system_error(0);

  EXPECT_STREQ(SystemErrorText().c_str(), "No Error");
  EXPECT_STREQ(SystemErrorText(0, "").c_str(), "");
}

TEST(SystemErrorText, IsEmptyWhereTheSystemHasNone) {
  EXPECT_STREQ(SystemErrorText(12345).c_str(), "");
}

}  // namespace
}  // namespace orsin
