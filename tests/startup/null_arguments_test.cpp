// Null for command lines and buffers of start-up.
#include <gtest/gtest.h>

#include <cstdlib>

#include "orsincore/startup.h"

namespace orsin {
namespace {

TEST(NullResult, TakesNoArgumentVector) {
  char program[] = "program";
  int argc = 99;
  char** argv = nullptr;

  setargv(program, program, &argc, nullptr);
  setargv(program, program, nullptr, &argv);

  EXPECT_EQ(argc, 99);
  EXPECT_EQ(argv, nullptr);
}

TEST(NullText, IsAnEmptyProgramAndAnEmptyLine) {
  int argc = 0;
  char** argv = nullptr;

  setargv(nullptr, nullptr, &argc, &argv);

  ASSERT_EQ(argc, 1);
  EXPECT_STREQ(argv[0], "");
  std::free(argv);
}

TEST(NullBuffer, TakesNoName) {
  EXPECT_FALSE(ov_computername(nullptr, 16));
}

}  // namespace
}  // namespace orsin
