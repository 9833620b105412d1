// Null for names of libraries and programs.
#include <gtest/gtest.h>

#include "orsincore/modules.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

TEST(NullName, OpensNoLibrary) {
  char** const no_arguments = nullptr;

  EXPECT_EQ(ov_open_library(nullptr, 0), nullptr);
  EXPECT_EQ(ov_resolve_symbol(nullptr, "entry"), nullptr);
  ov_close_library(nullptr, false);
  EXPECT_EQ(ov_rundll(nullptr, nullptr, 0, no_arguments), -1);
}

TEST(NullName, StartsNoProgram) {
  const test::LogCapture log;
  ProcessResultStruct result = {true, 1, true, 1};
  char program[] = "program";
  char* arguments[] = {program, nullptr};

  EXPECT_FALSE(SpawnAndLoopUntilFinished(nullptr, arguments, true, nullptr, nullptr, result, 0));
  EXPECT_FALSE(SpawnAndLoopUntilFinished(program, nullptr, true, nullptr, nullptr, result, 0));

  EXPECT_FALSE(result.started);
}

}  // namespace
}  // namespace orsin
