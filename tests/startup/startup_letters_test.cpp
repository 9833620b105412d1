#include "startup/startup_letters.h"

#include <gtest/gtest.h>

#include <vector>

namespace orsin {
namespace {

StartupOptions read(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "prog");
  return read_startup_letters(static_cast<int>(arguments.size()), arguments.data());
}

TEST(StartupLetters, CountDebugFlags) {
  EXPECT_EQ(read({}).debug_count, 0);
  EXPECT_EQ(read({"-d"}).debug_count, 1);
  EXPECT_EQ(read({"-dD", "-d"}).debug_count, 3);
  EXPECT_EQ(read({"d", "-xd"}).debug_count, 0);
}

TEST(StartupLetters, ReadAProcessorCountHereOrNext) {
  EXPECT_EQ(read({"-P4"}).processor_count, 4);
  EXPECT_EQ(read({"-P", "4"}).processor_count, 4);
  EXPECT_EQ(read({"-p0x10"}).processor_count, 16);
  EXPECT_EQ(read({"-P0"}).processor_count, 0);
  EXPECT_EQ(read({"-P9"}).processor_count, 9);
  EXPECT_EQ(read({"-P"}).processor_count, 0);
  EXPECT_EQ(read({"-Px", "4"}).processor_count, 0);
}

TEST(StartupLetters, ConsumeTheNumberThatFollows) {
  const StartupOptions options = read({"-dP", "-d"});
  EXPECT_EQ(options.debug_count, 1);
  EXPECT_EQ(options.processor_count, 0);
}

TEST(StartupLetters, TakeNoNumberFromBehindTheLastArgument) {
  const StartupOptions options = read({"-P", nullptr, "-d"});
  EXPECT_EQ(options.processor_count, 0);
  EXPECT_EQ(options.debug_count, 0);
  const char* const more[] = {"prog", "-P", "8"};
  EXPECT_EQ(read_startup_letters(2, more).processor_count, 0);
}

TEST(StartupLetters, AreNoneWithoutArguments) {
  EXPECT_EQ(read_startup_letters(5, nullptr).debug_count, 0);
}

TEST(StartupLetters, TakeRestartOnlyAsAWhole) {
  EXPECT_TRUE(read({"-restart"}).is_restart);
  EXPECT_TRUE(read({"-drestart"}).is_restart);
  EXPECT_FALSE(read({"-restarts"}).is_restart);
  EXPECT_FALSE(read({"-resta"}).is_restart);
  EXPECT_FALSE(read({"restart"}).is_restart);
}

}  // namespace
}  // namespace orsin
