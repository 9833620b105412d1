#include "modules/argument_quoting.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "orsincore/startup.h"

namespace orsin {
namespace {

struct Free {
  void operator()(void* block) const { std::free(block); }
};

// Joined with blanks and split again.
std::vector<std::string> split(const std::vector<std::string>& arguments) {
  std::string line;
  for (const std::string& argument : arguments) {
    line += quoted_argument(argument) + ' ';
  }
  char program[] = "program";
  int argc = 0;
  char** argv = nullptr;
  setargv(program, line.data(), &argc, &argv);
  const std::unique_ptr<char*[], Free> owner(argv);
  return {argv + 1, argv + argc};
}

TEST(ArgumentQuoting, WritesWhatASplitterReadsBack) {
  const struct {
    const char* argument;
    const char* written;
  } cases[] = {
      {"plain", "plain"},
      {"C:\\dir\\file", "C:\\dir\\file"},
      {"ends\\", "ends\\"},
      {"", "\"\""},
      {"a b", "\"a b\""},
      {"tab\there", "\"tab\there\""},
      {"*.wav", "\"*.wav\""},
      {"take?", "\"take?\""},
      {"\"", "\"\\\"\""},
      {"say \"hi\"", "\"say \\\"hi\\\"\""},
      {"a\\\"b", "\"a\\\\\\\"b\""},
      {"a b\\", "\"a b\\\\\""},
      {"a b\\\\", "\"a b\\\\\\\\\""},
      {"a\\ b", "\"a\\ b\""},
      {"Дубль é", "\"Дубль é\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.argument);

    EXPECT_EQ(quoted_argument(c.argument), c.written);
    EXPECT_EQ(split({c.argument}), std::vector<std::string>{c.argument});
  }
}

TEST(ArgumentQuoting, WritesRandomArgumentsThatASplitterReadsBack) {
  const unsigned seed = 20261121;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 5000; ++round) {
    std::vector<std::string> arguments(1 + random() % 5);
    for (std::string& argument : arguments) {
      for (unsigned length = random() % 8; length > 0; --length) {
        argument += "ab \t\\\\\"\"*"[random() % 9];
      }
    }
    ASSERT_EQ(split(arguments), arguments);
  }
}

TEST(ArgumentQuoting, QuotesAProgramNameWithoutEscapes) {
  const struct {
    const char* name;
    const char* written;
  } cases[] = {{"tool", "tool"},
               {"C:\\my tools\\run.exe", "\"C:\\my tools\\run.exe\""},
               {"C:\\my tools\\", "\"C:\\my tools\\\""},
               {"a\"b", "ab"},
               {"", "\"\""}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);

    EXPECT_EQ(quoted_program_name(c.name), c.written);
  }
}

}  // namespace
}  // namespace orsin
