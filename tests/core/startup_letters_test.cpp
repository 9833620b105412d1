// The command-line letters that start-up reads.
#include "core/startup_letters.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using orsin::read_startup_letters;
using orsin::StartupOptions;

StartupOptions read(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "host");
  return read_startup_letters(static_cast<int>(arguments.size()), arguments.data());
}

TEST(StartupLetters, CountsEveryDebugLetter) {
  EXPECT_EQ(read({}).debug_count, 0);
  EXPECT_EQ(read({"-d"}).debug_count, 1);
  EXPECT_EQ(read({"-dD", "-d"}).debug_count, 3);
  EXPECT_EQ(read({"-dxd"}).debug_count, 1);
  EXPECT_EQ(read({"dd"}).debug_count, 0);
}

TEST(StartupLetters, ReadsTheProcessorCountOfTheSameOrTheNextArgument) {
  const struct {
    std::vector<const char*> arguments;
    int expected;
  } rows[] = {
      {{"-P4"}, 4},  {{"-p", "4"}, 4}, {{"-P0"}, 0},  {{"-P0x10"}, 16}, {{"-P010"}, 8},
      {{"-dP3"}, 3}, {{"-P"}, 0},      {{"-Px4"}, 0}, {{"-xP4"}, 0},    {{"P4"}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments.front());
    EXPECT_EQ(read(row.arguments).processor_count, row.expected);
  }
}

TEST(StartupLetters, ConsumesTheArgumentThatGivesTheProcessorCount) {
  const StartupOptions options = read({"-P", "-d", "-restart"});

  EXPECT_EQ(options.processor_count, 0);
  EXPECT_EQ(options.debug_count, 0);
  EXPECT_TRUE(options.is_restart);
}

TEST(StartupLetters, TakesRestartOnlyAsTheWholeRest) {
  EXPECT_TRUE(read({"-restart"}).is_restart);
  EXPECT_TRUE(read({"-drestart"}).is_restart);
  EXPECT_FALSE(read({"-restarts"}).is_restart);
  EXPECT_FALSE(read({"-resta"}).is_restart);
  EXPECT_FALSE(read({"-Restart"}).is_restart);
  EXPECT_FALSE(read({"restart"}).is_restart);
}

TEST(StartupLetters, SurvivesAnEmptyVector) {
  const StartupOptions options = read_startup_letters(0, nullptr);

  EXPECT_EQ(options.debug_count, 0);
  EXPECT_FALSE(options.is_restart);
}

}  // namespace
