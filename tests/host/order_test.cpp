// The order in which a started process brings the library up and takes it down: the steps that the
// log names at TRACE level, and the lines that they leave at their places.
#include <algorithm>
#include <sstream>
#include <vector>

#include "tests/host/child_process.h"

namespace orsin {
namespace {

using test::NamedEvent;

using Steps = std::vector<std::string>;

class Order : public test::HostTest {
 protected:
  // The names behind "TRACE: <phase>: ", without the times of start-up.
  [[nodiscard]] Steps steps(const std::string& phase) const {
    Steps result;
    const std::string mark = " TRACE: " + phase + ": ";
    std::istringstream lines(log());
    for (std::string line; std::getline(lines, line);) {
      const std::size_t found = line.find(mark);
      if (found != std::string::npos) {
        std::string name = line.substr(found + mark.size());
        name.erase(std::min(name.find_first_of(",\r"), name.size()));
        result.push_back(name);
      }
    }
    return result;
  }
};

TEST_F(Order, OfStartUpIsFixed) {
  EXPECT_EQ(run("close", "-dd"), 0);

  EXPECT_EQ(steps("Start-up"),
            (Steps{"processors", "memory", "identifiers", "clock", "paths and log", "system report",
                   "standard heaps", "scheduling", "thread table", "transfers", "library loader",
                   "localisation", "owner report", "executor"}));
}

TEST_F(Order, OfClosedownIsFixed) {
  EXPECT_EQ(run("close", "-dd"), 0);

  EXPECT_EQ(steps("Closedown"), (Steps{"transfers", "standard heaps", "memory", "executor",
                                       "background worker", "thread table", "directory names",
                                       "single instance", "localisation", "library loader"}));
}

TEST_F(Order, TheClosingLineStandsBetweenTheInstanceAndTheLocalisation) {
  EXPECT_EQ(run("close", "-dd"), 0);

  expect_in_order(
      {"*---------------------------------------------------", "TRACE: Closedown: transfers",
       "TRACE: Closedown: single instance", "* Closed normally", "TRACE: Closedown: localisation",
       "TRACE: Closedown: library loader", "---------------------------------------------------"});
}

TEST_F(Order, ARestartBeginsWhereTheClosingLineWouldStand) {
  NamedEvent done(name() + "Done");

  EXPECT_EQ(run("restart", "-dd"), 0);
  ASSERT_TRUE(done.wait());

  expect_in_order({"TRACE: Closedown: single instance", "ERROR: * Restarting...",
                   "TRACE: Closedown: localisation",
                   "Log continued(4): ", "TRACE: Closedown: single instance", "* Closed normally"});
}

TEST_F(Order, StepsAreNamedAtTraceLevelOnly) {
  EXPECT_EQ(run("close", "-d"), 0);

  EXPECT_EQ(steps("Start-up"), Steps{});
  EXPECT_EQ(steps("Closedown"), Steps{});
}

TEST_F(Order, ClosedownEndsEveryThreadAndReportsThePagesThatAreLeft) {
  EXPECT_EQ(run("litter", "-dd"), 0);

  // The heaps have given their pages back before: what is counted is what the host left.
  expect_in_order({"TRACE: Closedown: standard heaps", "TRACE: Closedown: memory",
                   "DEBUG: MEMORY: Closedown: 1 OS allocations left: 65536",
                   "TRACE: Closedown: thread table", "* Closed normally"});
  EXPECT_EQ(log().find("the endless thread ended"), std::string::npos) << log();
}

TEST_F(Order, ClosedownReleasesWhatCopiesKeep) {
  EXPECT_EQ(run("copy", "-dd"), 0);

  expect_in_order({"copied with result 0", "TRACE: Closedown: memory"});
  EXPECT_EQ(log().find("OS allocations left"), std::string::npos) << log();
}

}  // namespace
}  // namespace orsin
