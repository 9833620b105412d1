// What the presets ask for and what they say when it is refused, through the stand-in's knobs.
#include <gtest/gtest.h>

#include "orsincore/threads.h"
#include "tests/platform/native/fake_scheduling.h"
#include "tests/support/log_capture.h"
#include "threads/scheduling.h"

namespace orsin {
namespace {

using test::fake_scheduling;
using test::Lines;
using test::LogCapture;

class Scheduling : public testing::Test {
 protected:
  ~Scheduling() override {
    fake_scheduling() = {};
    forget_admin_test();
  }
};

TEST_F(Scheduling, AsksForWhatEachPresetNames) {
  const struct {
    const char* what;
    void (*preset)();
    Lines calls;
  } cases[] = {
      {"ndpi", mp_schedule_ndpi, {"class real-time", "thread normal"}},
      {"highest", mp_schedule_highest, {"thread highest"}},
      {"high", mp_schedule_high, {"thread above normal"}},
      {"low", mp_schedule_low, {"thread idle", "no boost"}},
      {"start-up",
       schedule_for_startup,
       {"privilege", "group", "class high", "thread above normal"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const LogCapture log(4);
    fake_scheduling() = {};

    c.preset();

    EXPECT_EQ(fake_scheduling().calls, c.calls);
    EXPECT_EQ(log.lines(), Lines{});
  }
}

// Every step is taken even when the one before it was refused.
TEST_F(Scheduling, WarnsOfEachStepThatIsRefused) {
  const struct {
    const char* what;
    void (*preset)();
    Lines lines;
  } cases[] = {
      {"ndpi",
       mp_schedule_ndpi,
       {"WARN : SCHED: Can't set realtime priority class: error 5",
        "WARN : SCHED: Can't set time 'normal' priority: error 5"}},
      {"high", mp_schedule_high, {"WARN : SCHED: Can't set time 'above normal' priority: error 5"}},
      {"low",
       mp_schedule_low,
       {"WARN : SCHED: Can't set idle priority: error 5",
        "WARN : SCHED: Can't disable priority boost: error 5"}},
      {"start-up",
       schedule_for_startup,
       {"WARN : SCHED: Can't set high base-priority: error 5",
        "WARN : SCHED: Can't set time 'above normal' priority: error 5"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const LogCapture log(4);
    fake_scheduling() = {};
    fake_scheduling().refuse = true;

    c.preset();

    EXPECT_EQ(log.lines(), c.lines);
  }
}

TEST_F(Scheduling, KeepsTheTextOfAboveNormalForTheHighestPriority) {
  const LogCapture log;
  fake_scheduling().refuse = true;

  mp_schedule_highest();

  EXPECT_EQ(log.lines(), Lines{"WARN : SCHED: Can't set time 'above normal' priority: error 5"});
}

TEST_F(Scheduling, AdministratorsAreToldByTheirGroupWhateverBecomesOfThePrivilege) {
  const struct {
    port::PrivilegeResult privilege;
    Lines lines;
  } cases[] = {
      {port::PrivilegeResult::kEnabled, {}},
      {port::PrivilegeResult::kNoToken, {"DEBUG: Failed to retrieve privilege level.. - error 5"}},
      {port::PrivilegeResult::kRefused, {"DEBUG: Core: Can't adjust scheduling - error 5"}},
  };
  for (const auto& c : cases) {
    for (const bool is_administrator : {false, true}) {
      SCOPED_TRACE(static_cast<int>(c.privilege));
      const LogCapture log(3);
      forget_admin_test();
      fake_scheduling().privilege = c.privilege;
      fake_scheduling().is_administrator = is_administrator;

      EXPECT_EQ(ov_admin_privileges(), is_administrator);

      EXPECT_EQ(log.lines(), c.lines);
    }
  }
}

TEST_F(Scheduling, TestsForAdministratorsOnlyOnce) {
  fake_scheduling().is_administrator = true;
  EXPECT_TRUE(ov_admin_privileges());
  fake_scheduling().is_administrator = false;

  EXPECT_TRUE(ov_admin_privileges());

  EXPECT_EQ(fake_scheduling().calls, (Lines{"privilege", "group"}));
}

}  // namespace
}  // namespace orsin
