// Splitting a command line into an argument vector.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "orsincore/startup.h"

namespace {

std::vector<std::string> split(std::string line) {
  std::string program = "host";
  int argc = -1;
  char** argv = nullptr;
  setargv(program.data(), line.data(), &argc, &argv);
  std::vector<std::string> arguments(argv, argv + argc);
  EXPECT_EQ(argv[argc], nullptr);
  std::free(argv);
  return arguments;
}

TEST(Setargv, SplitsAndUnquotes) {
  using Arguments = std::vector<std::string>;
  const struct {
    const char* line;
    Arguments expected;
  } rows[] = {
      {"", {"host"}},
      {" \t ", {"host"}},
      {"a", {"host", "a"}},
      {" a \t b ", {"host", "a", "b"}},
      {R"("a b" c)", {"host", "a b", "c"}},
      {R"(a" "b)", {"host", "a b"}},
      {R"("")", {"host", ""}},
      {R"("a""b")", {"host", R"(a"b)"}},
      {R"("open end)", {"host", "open end"}},
      {R"(a\b\\c)", {"host", R"(a\b\\c)"}},
      {R"(\"a)", {"host", R"("a)"}},
      {R"(\\"a b")", {"host", R"(\a b)"}},
      {R"(\\\"a b)", {"host", R"(\"a)", "b"}},
      {R"("C:\a b\\" c)", {"host", R"(C:\a b\)", "c"}},
      {R"(end\)", {"host", R"(end\)"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(split(row.line), row.expected);
  }
}

TEST(Setargv, CopiesTheProgramAsItStands) {
  std::string program = R"(C:\My "App"\host.exe)";
  std::string line = "-x";
  int argc = 0;
  char** argv = nullptr;

  setargv(program.data(), line.data(), &argc, &argv);

  ASSERT_EQ(argc, 2);
  EXPECT_STREQ(argv[0], program.c_str());
  EXPECT_NE(argv[0], program.data());
  EXPECT_STREQ(argv[1], "-x");
  std::free(argv);
}

}  // namespace
