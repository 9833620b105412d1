// What a second instance leaves of its command line.
#include <gtest/gtest.h>

#include "startup/instance.h"

namespace {

using orsin::arguments_of;

TEST(InstanceArguments, AreWhatFollowsTheProgram) {
  EXPECT_STREQ(arguments_of("host.exe -x file"), "-x file");
  EXPECT_STREQ(arguments_of(R"("C:\App\host.exe" -x file)"), "-x file");
  EXPECT_STREQ(arguments_of(R"(  "host.exe"   "-x file")"), R"(-x file")");
}

TEST(InstanceArguments, AreEmptyWithoutACommandLine) {
  EXPECT_STREQ(arguments_of(nullptr), "");
  EXPECT_STREQ(arguments_of(""), "");
  EXPECT_STREQ(arguments_of("host.exe"), "");
}

TEST(InstanceArguments, KeepsTheRestOfAQuotedPathWithABlank) {
  EXPECT_STREQ(arguments_of(R"("C:\My App\host.exe" -x)"), R"(App\host.exe" -x)");
}

}  // namespace
