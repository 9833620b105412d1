#include "examples/host/ingest/options.h"

#include <gtest/gtest.h>

namespace host::ingest {
namespace {

TEST(IngestOptions, AreTakenAnywhereOnTheLine) {
  Options options;

  EXPECT_EQ(parse_options({"card", "--verify", "one", "--jobs", "8", "two", "--manifest",
                           "--resume", "--plain", "--report", "page.html"},
                          options),
            "");

  EXPECT_TRUE(options.verify && options.manifest && options.resume && options.plain);
  EXPECT_FALSE(options.dry_run);
  EXPECT_EQ(options.jobs, 8);
  EXPECT_EQ(options.report, "page.html");
  EXPECT_EQ(options.card, "card");
  EXPECT_EQ(options.destinations, (std::vector<std::string>{"one", "two"}));
}

TEST(IngestOptions, NeedADestinationUnlessNothingIsWritten) {
  constexpr const char* kProblem = "needs a card and at least one destination";
  Options plan;
  Options copy;
  Options nothing;

  EXPECT_EQ(parse_options({"--dry-run", "card"}, plan), "");
  EXPECT_EQ(parse_options({"card"}, copy), kProblem);
  EXPECT_EQ(parse_options({"--dry-run"}, nothing), kProblem);
}

TEST(IngestOptions, RefuseWhatMakesNoSense) {
  const std::string jobs = "--jobs takes a number from 1 to 32";
  struct Case {
    std::vector<std::string> arguments;
    std::string problem;
  };
  for (const Case& c :
       {Case{{"a", "b", "--jobs"}, jobs}, Case{{"a", "b", "--jobs", "0"}, jobs},
        Case{{"a", "b", "--jobs", "33"}, jobs}, Case{{"a", "b", "--jobs", "4x"}, jobs},
        Case{{"a", "b", "--report"}, "--report takes the name of a file"},
        Case{{"a", "b", "--fast"}, "no option --fast"},
        Case{std::vector<std::string>(18, "x"), "takes at most 16 destinations"}}) {
    SCOPED_TRACE(c.problem);
    Options options;
    EXPECT_EQ(parse_options(c.arguments, options), c.problem);
  }
}

}  // namespace
}  // namespace host::ingest
