// Null for texts, buffers and results of the runtime core.
#include <gtest/gtest.h>

#include "orsincore/log.h"
#include "orsincore/startup.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;

TEST(NullText, WritesNoLine) {
  const test::LogCapture log(4);
  const char* const none = nullptr;

  msgerror(none);
  msgwarn(none);
  msgcont(none);
  EXPECT_EQ(msglist(none), 0);

  EXPECT_EQ(log.lines(), Lines{});
}

TEST(NullText, LeavesTheReasonOfAnErrorLine) {
  const test::LogCapture log(4);

  msg_os_error(nullptr, 5);

  EXPECT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.last_line().substr(0, 11), "ERROR:  : '");
}

TEST(NullResult, IsLeftOutOfTheProcessorInformation) {
  unsigned int count = 99;

  EXPECT_EQ(ov_cpu_info(nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(ov_cpu_info(&count, nullptr, nullptr, nullptr, nullptr), 1);

  EXPECT_EQ(count, static_cast<unsigned int>(mp_get_numcpu(0)));
}

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
