#include "tests/acceptance/test_list.h"

#include <gtest/gtest.h>

namespace orsin::acceptance {
namespace {

TEST(AcceptanceList, TakesOneTestFromEachLine) {
  std::string bad;

  const std::vector<ListedTest> tests =
      parse_list("A.B\ta.exe\tA.B\t300\t\r\nC.D/1\tc.exe\tC.D/1\t60\tVARIABLE\n", bad);

  ASSERT_EQ(tests.size(), 2U);
  EXPECT_EQ(bad, "");
  EXPECT_EQ(tests[0].name, "A.B");
  EXPECT_EQ(tests[0].program, "a.exe");
  EXPECT_EQ(tests[0].filter, "A.B");
  EXPECT_EQ(tests[0].seconds_max, 300);
  EXPECT_EQ(tests[0].needs, "");
  EXPECT_EQ(tests[1].name, "C.D/1");
  EXPECT_EQ(tests[1].needs, "VARIABLE");
}

TEST(AcceptanceList, RefusesALineThatIsNoTest) {
  for (const char* line :
       {"", "A.B", "A.B\ta.exe\tA.B", "A.B\ta.exe\tA.B\tsoon\t", "A.B\ta.exe\tA.B\t1\tX\tmore"}) {
    SCOPED_TRACE(line);
    std::string bad = "none";

    EXPECT_EQ(parse_list(std::string(line) + "\n", bad).size(), 0U);

    EXPECT_EQ(bad, line);
  }
}

TEST(AcceptanceEnding, IsPassedOnlyWhenTheTestSaysSo) {
  EXPECT_EQ(ending(0, "[  PASSED  ] 1 test.\n"), Ending::kPassed);
  EXPECT_EQ(ending(0, ""), Ending::kFailed);
  EXPECT_EQ(ending(0, "[  PASSED  ] 0 tests.\n"), Ending::kFailed);
  EXPECT_EQ(ending(1, "[  PASSED  ] 1 test.\n"), Ending::kFailed);
  EXPECT_EQ(ending(-1073741819, "[ RUN      ] A.B\n"), Ending::kFailed);
}

TEST(AcceptanceEnding, IsSkippedWithTheReasonThatTheTestGives) {
  const char* output =
      "[ RUN      ] A.B\r\n./tests/a.cpp:12: Skipped\r\nthis processor\r\nhas none\r\n\r\n"
      "[  SKIPPED ] A.B (0 ms)\r\n[  PASSED  ] 0 tests.\r\n[  SKIPPED ] 1 test, listed below:\r\n";

  EXPECT_EQ(ending(0, output), Ending::kSkipped);
  EXPECT_EQ(reason(output), "this processor has none");
}

TEST(AcceptanceMedians, KeepTheHeadsTheMediansAndWhatCouldNotRun) {
  EXPECT_EQ(medians("2026-11-22T10:00:00+00:00\r\n"
                    "Running C:\\kit\\bench\\text_bench.exe\r\n"
                    "Benchmark            Time             CPU   Iterations\r\n"
                    "------------------------------------------------------\r\n"
                    "copy_mean         15.0 ns         15.0 ns            3\r\n"
                    "copy_median       14.0 ns         14.0 ns            3\r\n"
                    "copy_stddev       1.00 ns         1.00 ns            3\r\n"
                    "list/10 ERROR OCCURRED: 'files are missing'\r\n"),
            "Benchmark            Time             CPU   Iterations\n"
            "copy       14.0 ns         14.0 ns            3\n"
            "list/10 ERROR OCCURRED: 'files are missing'\n");
}

TEST(AcceptanceMedians, AreNoneWhereNothingWasMeasured) {
  EXPECT_EQ(medians("terminate called\n"), "");
  EXPECT_EQ(medians(""), "");
}

}  // namespace
}  // namespace orsin::acceptance
