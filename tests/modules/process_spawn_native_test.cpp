// The spawner over programs that do not run: each answer of the platform, and what becomes of it.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>

#include "orsincore/startup.h"
#include "tests/platform/fake_programs.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using port::ProgramState;
using test::fake_programs;
using test::Lines;
using test::LogCapture;

class ProcessSpawn : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(fake_programs().open_handles, 0);
    fake_programs() = {};
  }

  bool spawn(bool wait, void (*idle)(void*) = nullptr, int poll_ms = 0) {
    char program[] = "tool";
    char* argv[] = {program, nullptr};
    return SpawnAndLoopUntilFinished("tool", argv, wait, idle, &idle_calls_, result_, poll_ms);
  }

  static void count(void* calls) { ++*static_cast<int*>(calls); }

  // What the result holds before it is known; filled with other values first.
  ProcessResultStruct result_ = {true, 77, true, 88};
  int idle_calls_ = 0;
};

// Nobody looks sooner than that: the pause is the least that must have gone by.
TEST_F(ProcessSpawn, PausesBetweenTwoLooks) {
  for (const int poll_ms : {1, 20}) {
    SCOPED_TRACE(poll_ms);
    fake_programs().states.assign(10, ProgramState::kRunning);
    const auto begin = std::chrono::steady_clock::now();

    EXPECT_TRUE(spawn(true, nullptr, poll_ms));

    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(10 * poll_ms));
  }
}

TEST_F(ProcessSpawn, AProgramThatIsNotFoundIsAnError) {
  const LogCapture log;
  fake_programs().start_error = ENOENT;

  EXPECT_FALSE(spawn(true));

  EXPECT_FALSE(result_.started);
  EXPECT_FALSE(result_.exited);
  EXPECT_EQ(result_.exit_code, -1);
  EXPECT_EQ(result_.reserved, 0);
  EXPECT_EQ(log.lines(),
            Lines{std::string("ERROR: _spawnvp failed (") + std::strerror(ENOENT) + ")"});
}

TEST_F(ProcessSpawn, OnlyAProgramThatIsWaitedForMayWriteIntoTheLog) {
  EXPECT_TRUE(spawn(true));
  EXPECT_EQ(fake_programs().errors, port::ErrorOutput::kOurs);

  EXPECT_TRUE(spawn(false));
  EXPECT_EQ(fake_programs().errors, port::ErrorOutput::kNowhere);
}

TEST_F(ProcessSpawn, MissingArgumentsAreAnError) {
  char program[] = "tool";
  char* nothing[] = {nullptr};
  char* argv[] = {program, nullptr};
  const std::string line = std::string("ERROR: _spawnvp failed (") + std::strerror(EINVAL) + ")";
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    const LogCapture log;

    EXPECT_FALSE(SpawnAndLoopUntilFinished(i == 0 ? nullptr : "tool",
                                           i == 1 ? nullptr : (i == 2 ? nothing : argv), true,
                                           nullptr, nullptr, result_, 0));

    EXPECT_EQ(log.lines(), Lines{line});
  }
}

TEST_F(ProcessSpawn, MemoryShortageIsAnError) {
  const LogCapture log;
  fake_programs().lacks_memory = true;

  EXPECT_FALSE(spawn(true));

  EXPECT_EQ(log.lines(),
            Lines{std::string("ERROR: _spawnvp failed (") + std::strerror(ENOMEM) + ")"});
}

TEST_F(ProcessSpawn, WithoutWaitingItReturnsAtOnce) {
  fake_programs().states = {ProgramState::kRunning};

  EXPECT_TRUE(spawn(false, count));

  EXPECT_TRUE(result_.started);
  EXPECT_FALSE(result_.exited);
  EXPECT_EQ(result_.exit_code, -1);
  EXPECT_EQ(result_.reserved, 0);
  EXPECT_EQ(fake_programs().looks, 0);
  EXPECT_EQ(idle_calls_, 0);
}

TEST_F(ProcessSpawn, CallsIdleOncePerPoll) {
  for (const int poll_ms : {-1, 0, 1}) {
    SCOPED_TRACE(poll_ms);
    idle_calls_ = 0;
    fake_programs() = {};
    fake_programs().states = {ProgramState::kRunning, ProgramState::kRunning,
                              ProgramState::kRunning};
    fake_programs().exit_code = 3;

    EXPECT_TRUE(spawn(true, count, poll_ms));

    EXPECT_EQ(idle_calls_, 3);
    EXPECT_EQ(fake_programs().looks, 4);
    EXPECT_TRUE(result_.started);
    EXPECT_TRUE(result_.exited);
    EXPECT_EQ(result_.exit_code, 3);
    EXPECT_EQ(result_.reserved, 0);
  }
}

TEST_F(ProcessSpawn, WaitsWithoutAnIdleFunction) {
  fake_programs().states = {ProgramState::kRunning};

  EXPECT_TRUE(spawn(true));

  EXPECT_TRUE(result_.exited);
}

TEST_F(ProcessSpawn, AProgramThatEndedAtOnceNeverIdles) {
  EXPECT_TRUE(spawn(true, count));

  EXPECT_EQ(idle_calls_, 0);
}

TEST_F(ProcessSpawn, ALookThatFailsIsAnError) {
  const LogCapture log;
  fake_programs().states = {ProgramState::kRunning, ProgramState::kUnknown};

  EXPECT_FALSE(spawn(true, count));

  EXPECT_TRUE(result_.started);
  EXPECT_FALSE(result_.exited);
  EXPECT_EQ(result_.exit_code, -1);
  EXPECT_EQ(log.lines(), Lines{"ERROR: _spawnvp wait failed"});
}

TEST_F(ProcessSpawn, AnExitCodeThatIsNotToldIsAnError) {
  const LogCapture log;
  fake_programs().exit_code_error = ECHILD;
  fake_programs().exit_code = 5;

  EXPECT_FALSE(spawn(true));

  EXPECT_TRUE(result_.started);
  EXPECT_FALSE(result_.exited);
  EXPECT_EQ(result_.exit_code, -1);
  EXPECT_EQ(log.lines(),
            Lines{std::string("ERROR: _spawnvp cwait failed (") + std::strerror(ECHILD) + ")"});
}

TEST_F(ProcessSpawn, ClosesTheProgramWhenIdleThrows) {
  fake_programs().states = {ProgramState::kRunning};

  EXPECT_THROW(spawn(true, [](void*) { throw std::runtime_error("idle"); }), std::runtime_error);

  EXPECT_EQ(fake_programs().open_handles, 0);
}

TEST_F(ProcessSpawn, WritesEachArgumentInTheLanguageOfCommandLines) {
  char program[] = "C:\\my tools\\";
  char first[] = "a b\\";
  char second[] = "";
  char* argv[] = {program, first, second, nullptr};

  EXPECT_TRUE(SpawnAndLoopUntilFinished("tool", argv, true, nullptr, nullptr, result_, 0));

  EXPECT_EQ(fake_programs().program, "tool");
  EXPECT_EQ(fake_programs().arguments, (Lines{"\"C:\\my tools\\\"", "\"a b\\\\\"", "\"\""}));
}

}  // namespace
}  // namespace orsin
