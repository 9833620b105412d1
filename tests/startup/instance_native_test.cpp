// The single instance in a session that a test sets up: what the mutex tells, and what a second
// instance leaves behind.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/log_port.h"
#include "orsincore/startup.h"
#include "tests/platform/fake_instance.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::fake_instance;
using test::Lines;

constexpr char kMutexCall[] = "mutex Take_5E4C86F371114ee585BCDA0859351AE0";
constexpr char kMessageCall[] = "message Take: There is already an instance running!";

class Instance : public testing::Test {
 protected:
  Instance() { fake_instance().command_line = "app.exe -x take.mov"; }
  ~Instance() override {
    end_single_instance();
    EXPECT_EQ(fake_instance().open_mutexes, 0);
    fake_instance() = {};
    port::set_last_system_error(0);
  }

  // What the first instance is told; empty when there is nothing.
  static std::string update() {
    char line[sizeof(InstanceRecord::command_line) + 1] = {};
    return ov_get_instance_update(line) != 0 ? line : "";
  }
};

TEST_F(Instance, IsTheFirstWhereTheMutexIsNew) {
  port::set_last_system_error(port::kAlreadyExists);  // Of an earlier call.

  EXPECT_TRUE(become_single_instance("Take"));

  EXPECT_EQ(fake_instance().calls, Lines{kMutexCall});
  EXPECT_EQ(fake_instance().open_mutexes, 1);
  EXPECT_EQ(update(), "");
}

TEST_F(Instance, IsTheSecondWhereTheMutexExists) {
  fake_instance().exists = true;

  EXPECT_FALSE(become_single_instance("Take"));

  EXPECT_EQ(fake_instance().calls, (Lines{kMutexCall, "find TakeKORVANE", kMessageCall}));
  EXPECT_EQ(fake_instance().open_mutexes, 0);
  EXPECT_EQ(update(), "-x take.mov");
  EXPECT_EQ(update(), "");
}

// To the same length in every version, or two of them would not find each other.
TEST_F(Instance, CutsNamesThatAreTooLong) {
  fake_instance().exists = true;
  const std::string name(500, 'n');

  EXPECT_FALSE(become_single_instance(name.c_str()));

  EXPECT_EQ(fake_instance().calls[0], "mutex " + std::string(399, 'n'));
  EXPECT_EQ(fake_instance().calls[1], "find " + std::string(299, 'n'));
}

// As a service: the box would wait for ever for somebody who presses its button.
TEST_F(Instance, AsksNobodyWhereNobodyCouldSeeTheQuestion) {
  fake_instance().exists = true;
  fake_instance().desktop_is_visible = false;

  EXPECT_FALSE(become_single_instance("Take"));

  EXPECT_EQ(fake_instance().calls, (Lines{kMutexCall, "find TakeKORVANE"}));
  EXPECT_EQ(update(), "-x take.mov");
}

// The system answers so where the first one runs with more rights.
TEST_F(Instance, IsTheSecondWhereTheMutexMayNotBeOpened) {
  fake_instance().refusal = port::kAccessDenied;

  EXPECT_FALSE(become_single_instance("Take"));

  EXPECT_EQ(fake_instance().calls, (Lines{kMutexCall, "find TakeKORVANE", kMessageCall}));
  EXPECT_EQ(update(), "-x take.mov");
}

TEST_F(Instance, IsTheFirstWhereThereIsNoMutexForAnyOtherReason) {
  fake_instance().refusal = 8;  // No memory.

  EXPECT_TRUE(become_single_instance("Take"));

  EXPECT_EQ(update(), "");
}

TEST_F(Instance, RaisesTheFirstOnesWindow) {
  fake_instance().exists = true;
  fake_instance().has_window = true;

  EXPECT_FALSE(become_single_instance("Take"));
  EXPECT_EQ(fake_instance().calls, (Lines{kMutexCall, "find TakeKORVANE", "raise"}));

  fake_instance().calls.clear();
  fake_instance().window_is_minimised = true;
  EXPECT_FALSE(become_single_instance("Take"));
  EXPECT_EQ(fake_instance().calls, (Lines{kMutexCall, "find TakeKORVANE", "restore", "raise"}));
}

TEST_F(Instance, TellsNothingWhereNothingIsPending) {
  char line[sizeof(InstanceRecord::command_line)] = "kept";

  EXPECT_EQ(ov_get_instance_update(line), 0);

  EXPECT_STREQ(line, "kept");
}

TEST_F(Instance, KeepsALineThatFindsNoPlace) {
  fake_instance().exists = true;
  EXPECT_FALSE(become_single_instance("Take"));

  EXPECT_EQ(ov_get_instance_update(nullptr), 0);

  char line[sizeof(InstanceRecord::command_line)] = {};
  EXPECT_EQ(ov_get_instance_update(line), 1);
  EXPECT_STREQ(line, "-x take.mov");
}

TEST_F(Instance, TellsAsManyBytesAsTheRecordHoldsAndNoMore) {
  constexpr std::size_t kBytes = sizeof(InstanceRecord::command_line);
  const std::string longest(kBytes, 'y');
  std::string line(kBytes + 20, 'x');
  std::memcpy(fake_instance().record.command_line, longest.data(), kBytes);
  fake_instance().record.pending = 1;

  EXPECT_EQ(ov_get_instance_update(line.data()), 1);

  EXPECT_EQ(line, longest + std::string(20, 'x'));
}

TEST_F(Instance, LeavesNothingOfALongerLineBefore) {
  fake_instance().exists = true;
  std::memset(fake_instance().record.command_line, 'y', sizeof(InstanceRecord::command_line));

  EXPECT_FALSE(become_single_instance("Take"));

  EXPECT_EQ(std::string(fake_instance().record.command_line, 13),
            std::string("-x take.mov\0\0", 13));
  EXPECT_EQ(fake_instance().record.command_line[259], '\0');
}

}  // namespace
}  // namespace orsin
