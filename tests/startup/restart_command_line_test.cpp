#include <gtest/gtest.h>

#include "startup/restart.h"

namespace orsin {
namespace {

TEST(SuccessorCommandLine, PassesOnWhatFollowsTheFirstDash) {
  EXPECT_EQ(successor_command_line(L"C:\\App\\host.exe", L"\"host.exe\" -d file -P4"),
            L"C:\\App\\host.exe -d file -P4 -restart");
}

TEST(SuccessorCommandLine, DropsArgumentsBeforeTheFirstDash) {
  EXPECT_EQ(successor_command_line(L"host.exe", L"host.exe file -d"), L"host.exe -d -restart");
  EXPECT_EQ(successor_command_line(L"host.exe", L"host.exe file"), L"host.exe -restart");
}

TEST(SuccessorCommandLine, KeepsThePathWithABlankUnquoted) {
  EXPECT_EQ(successor_command_line(L"C:\\My App\\host.exe", L"\"C:\\My App\\host.exe\" -d"),
            L"C:\\My App\\host.exe -d -restart");
}

}  // namespace
}  // namespace orsin
