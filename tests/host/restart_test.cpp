// The hand-over from a process that closes down to the one it starts in its place.
#include "tests/host/child_process.h"

namespace orsin {
namespace {

using test::ChildProcess;
using test::NamedEvent;

constexpr DWORD kShortMs = 300;

constexpr char kMutexName[] = "KORVANE_RESTART";

// One test at a time, whatever process it runs in: there is one restart mutex for all.
class Turn {
 public:
  Turn() { WaitForSingleObject(mutex_, test::kDeadlineMs); }
  ~Turn() {
    ReleaseMutex(mutex_);
    CloseHandle(mutex_);
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  HANDLE mutex_ = CreateMutexA(nullptr, FALSE, "ORSIN_TEST_RESTART");
};

class Restart : public test::HostTest {
 protected:
  Turn turn_;
  // Not the name itself: that is the instance mutex's, and kernel objects share their names.
  NamedEvent done_{name() + "Done"};
};

TEST_F(Restart, TheSuccessorContinuesTheLogOfItsPredecessor) {
  EXPECT_EQ(run("restart"), 0);
  ASSERT_TRUE(done_.wait());

  const std::string text = log();
  const std::size_t started = text.find("Log started(2): ");
  const std::size_t restarting = text.find("ERROR: * Restarting...", started);
  const std::size_t continued = text.find("Log continued(2): ", restarting);
  EXPECT_NE(started, std::string::npos) << text;
  EXPECT_NE(restarting, std::string::npos) << text;
  EXPECT_NE(continued, std::string::npos) << text;
  EXPECT_NE(text.find("* Closed normally", continued), std::string::npos) << text;
}

TEST_F(Restart, TheSuccessorGetsTheArgumentsAgain) {
  EXPECT_EQ(run("restart", "-dd"), 0);
  ASSERT_TRUE(done_.wait());

  EXPECT_NE(log().find("Log continued(4): "), std::string::npos) << log();
}

TEST_F(Restart, ASuccessorWaitsUntilItsPredecessorGivesTheMutexBack) {
  HANDLE mutex = CreateMutexA(nullptr, TRUE, kMutexName);
  ASSERT_NE(mutex, nullptr);
  ChildProcess successor(host("close", "-restart"));

  EXPECT_FALSE(done_.wait(kShortMs)) << "it came up beside its predecessor";
  ReleaseMutex(mutex);
  CloseHandle(mutex);

  EXPECT_EQ(successor.wait(), 0);
  EXPECT_NE(log().find("Log continued(2): "), std::string::npos) << log();
}

TEST_F(Restart, WithoutAPredecessorTheFlagAloneContinuesTheLog) {
  EXPECT_EQ(run("close"), 0);
  EXPECT_EQ(run("close", "-restart"), 0);

  const std::string text = log();
  EXPECT_NE(text.find("Log started(2): "), std::string::npos) << text;
  EXPECT_NE(text.find("Log continued(2): "), std::string::npos) << text;
}

TEST_F(Restart, AProgramThatCannotBeStartedLeavesNoWord) {
  SetEnvironmentVariableA("ORSIN_TEST_MODULE", "C:\\no\\such\\program.exe");

  EXPECT_EQ(run("restart"), 0);
  SetEnvironmentVariableA("ORSIN_TEST_MODULE", nullptr);

  const std::string text = log();
  EXPECT_EQ(text.find("* Restart"), std::string::npos) << text;
  EXPECT_EQ(text.find("* Closed normally"), std::string::npos) << text;
}

TEST_F(Restart, WhereTheMutexCannotBeMadeTheProgramOnlyEnds) {
  HANDLE name_taken = CreateEventA(nullptr, TRUE, FALSE, kMutexName);
  ASSERT_NE(name_taken, nullptr);

  EXPECT_EQ(run("restart"), 0);
  CloseHandle(name_taken);

  const std::string text = log();
  EXPECT_NE(text.find("ERROR: Restart(1) : '"), std::string::npos) << text;
  EXPECT_EQ(text.find("* Restart"), std::string::npos) << text;
  EXPECT_EQ(text.find("* Closed normally"), std::string::npos) << text;
}

// The mutex is a third process's here, and never becomes free while the predecessor looks.
TEST_F(Restart, SaysSoWhenTheMutexIsNotGivenInTime) {
  HANDLE mutex = CreateMutexA(nullptr, TRUE, kMutexName);
  ASSERT_NE(mutex, nullptr);

  EXPECT_EQ(run("restart"), 0);
  const std::string text = log();
  ReleaseMutex(mutex);
  CloseHandle(mutex);

  EXPECT_NE(text.find("ERROR: * Restart failed..."), std::string::npos) << text;
  EXPECT_EQ(text.find("* Restarting..."), std::string::npos) << text;
  EXPECT_TRUE(done_.wait()) << "the successor comes up all the same";
}

}  // namespace
}  // namespace orsin
