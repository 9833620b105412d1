#include "tests/soak/log_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace orsin::soak {
namespace {

std::string complaint_about(const std::string& log) {
  LogCheck check;
  check.read(log);
  return check.complaint();
}

TEST(LogCheck, AcceptsEveryKindOfLine) {
  EXPECT_EQ(complaint_about("10:02:03.45 INFO : soak 1 0 some text 0\r\n"
                            "10:02:03.45 ERROR: The disk is full\n"
                            "10:02:03.45 ERROR: failed [Success.\r\n]\r\n"
                            "10:02:03.45 WARN : \n"
                            "                 : more of it\n"
                            "               # : Repeated 12 times\n"
                            "10:02:03.46 DEBUG: soak 0 0 0 0\n"
                            "10:02:03.46 TRACE: soak 1 1 some text 1\n"),
            "");
}

TEST(LogCheck, CountsLinesAndThoseOfAWriter) {
  LogCheck check;
  check.read("10:02:03.45 INFO : soak 1 0 x 0\n10:02:03.45 INFO : soak 1 1 x 1\n");
  check.read("10:02:03.45 INFO : other\n");

  EXPECT_EQ(check.lines(), 3u);
  EXPECT_EQ(check.lines_of(0), 0u);
  EXPECT_EQ(check.lines_of(1), 2u);
}

TEST(LogCheck, TakesTheLogInAnyPieces) {
  const std::string log = "10:02:03.45 INFO : soak 1 0 x 0\r\n10:02:03.45 INFO : soak 1 1 x 1\r\n";
  for (std::size_t cut = 0; cut <= log.size(); ++cut) {
    SCOPED_TRACE(cut);
    LogCheck check;
    check.read(log.substr(0, cut));
    check.read(log.substr(cut));

    EXPECT_EQ(check.complaint(), "");
    EXPECT_EQ(check.lines_of(1), 2u);
  }
}

TEST(LogCheck, NoticesWhatIsNoLine) {
  EXPECT_EQ(complaint_about("10:02:03.4 INFO : x\n"),
            "not a line of the log: 10:02:03.4 INFO : x, behind: ");
  EXPECT_EQ(complaint_about("10:02:03.45 INF\n"),
            "not a line of the log: 10:02:03.45 INF, behind: ");
  EXPECT_EQ(complaint_about("\n"), "not a line of the log: , behind: ");
  EXPECT_EQ(complaint_about("    : x\n"), "not a line of the log:     : x, behind: ");
}

TEST(LogCheck, NoticesALostLineAndOneThatCameTwice) {
  const std::string first = "10:02:03.45 INFO : soak 3 0 x 0\n";

  EXPECT_EQ(complaint_about(first + "10:02:03.45 INFO : soak 3 2 x 2\n"),
            "lines were lost, or changed places, before: 10:02:03.45 INFO : soak 3 2 x 2, "
            "behind: 10:02:03.45 INFO : soak 3 0 x 0");
  EXPECT_NE(complaint_about(first + first), "");
}

TEST(LogCheck, NoticesACutLine) {
  EXPECT_EQ(complaint_about("10:02:03.45 INFO : soak 3 0 x\n"),
            "cut: 10:02:03.45 INFO : soak 3 0 x, behind: ");
  EXPECT_EQ(complaint_about("10:02:03.45 INFO : soak 3\n"),
            "no number: 10:02:03.45 INFO : soak 3, behind: ");
  EXPECT_EQ(complaint_about("10:02:03.45 INFO : soak 8 0 x 0\n"),
            "no number: 10:02:03.45 INFO : soak 8 0 x 0, behind: ");
}

TEST(LogCheck, KeepsTheFirstComplaint) {
  EXPECT_EQ(complaint_about("one\ntwo\n"), "not a line of the log: one, behind: ");
}

TEST(LogCheck, RemembersWhatStoodBeforeAFault) {
  LogCheck check;
  check.read("10:02:03.45 ERROR: it is gone\n10:02:03.45 INFO : soak 3 0 x 0\n");
  check.read("10:02:03.45 WARN : Soak fault: copies: no copy\n10:02:03.45 INFO : behind\n");

  ASSERT_EQ(check.before_faults().size(), 1u);
  EXPECT_EQ(check.before_faults()[0],
            "10:02:03.45 ERROR: it is gone\n10:02:03.45 WARN : Soak fault: copies: no copy\n");
}

TEST(LogCheck, RemembersTheFirstFaultsAndTheLastLinesOnly) {
  LogCheck check;
  for (int i = 0; i < 100; ++i) {
    check.read("10:02:03.45 WARN : Soak fault: again\n");
  }

  ASSERT_EQ(check.before_faults().size(), 5u);
  EXPECT_EQ(std::count(check.before_faults()[4].begin(), check.before_faults()[4].end(), '\n'), 5);
}

}  // namespace
}  // namespace orsin::soak
