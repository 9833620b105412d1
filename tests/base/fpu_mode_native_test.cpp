// What the floating-point set-up says about control words that this platform never has.
#include <gtest/gtest.h>

#include <cstdlib>

#include "base/fpu_mode.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::fake_processors;
using test::Lines;
using test::LogCapture;

class FpuMode : public testing::Test {
 protected:
  FpuMode() {
    forget_fpu_mode();
    fake_processors() = {};
  }
  ~FpuMode() override {
    forget_fpu_mode();
    fake_processors() = {};
  }
};

TEST_F(FpuMode, NamesThePrecisionInTheLog) {
  struct Case {
    std::uint32_t control;
    Lines lines;
  };
  const Case cases[] = {{0x0009001F & ~0x30000U, {"     : FPU : Precision 64 bits"}},
                        {0x0008001F | 0x10000U, {"     : FPU : Precision 53 bits"}},
                        {0x0008001F | 0x20000U, {"     : FPU : Precision 24 bits"}},
                        {0x0008001F | 0x30000U, {}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.control);
    forget_fpu_mode();
    fake_processors().fpu_control = c.control;
    const LogCapture log;
    msginfo("head");

    fpu_setup(false);

    Lines expected = {"INFO : head"};
    expected.insert(expected.end(), c.lines.begin(), c.lines.end());
    EXPECT_EQ(log.lines(), expected);
  }
}

TEST_F(FpuMode, KeepsAnnouncingAChangeThatItDoesNotMake) {
  fake_processors().fpu_control = 0x1001F;
  const LogCapture log;
  msginfo("head");

  fpu_setup(true);

  EXPECT_EQ(log.lines(), (Lines{"INFO : head", "     : FPU : Precision 53 bits",
                                "     :     : Changed to 64 bits"}));
  EXPECT_EQ(fake_processors().fpu_control, 0x1001FU);
}

TEST_F(FpuMode, AnnouncesNoChangeOfTheFullPrecision) {
  fake_processors().fpu_control = 0x1F;
  const LogCapture log;
  msginfo("head");

  fpu_setup(true);

  EXPECT_EQ(log.lines(), (Lines{"INFO : head", "     : FPU : Precision 64 bits"}));
}

TEST_F(FpuMode, IsRecordedOnce) {
  fpu_setup(false);
  fake_processors().fpu_control ^= 0x100;
  const LogCapture log;

  fpu_setup(false);

  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_FALSE(fpu_check());
}

TEST_F(FpuMode, CheckPutsAChangedModeBack) {
  fpu_setup(false);
  const std::uint32_t recorded = fake_processors().fpu_control;
  for (const std::uint32_t changed : {0x100U, 0x300U, 0x1U, 0x80000U, 0x1000000U}) {
    SCOPED_TRACE(changed);
    fake_processors().fpu_control = recorded ^ changed;

    EXPECT_FALSE(fpu_check());

    EXPECT_EQ(fake_processors().fpu_control, recorded);
    EXPECT_TRUE(fpu_check());
  }
}

TEST_F(FpuMode, KeepsReportingADifferentPrecision) {
  fpu_setup(false);
  fake_processors().fpu_control ^= 0x20000;

  EXPECT_FALSE(fpu_check());
  EXPECT_FALSE(fpu_check());
}

TEST_F(FpuMode, IsLeftAloneUntilItIsRecorded) {
  fpu_default_mode();

  EXPECT_EQ(fake_processors().fpu_control, 0x9001FU);
}

// In a process of its own: in this one, it may have been recorded and forgotten.
TEST(FpuModeDeathTest, IsNotRecordedInANewProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const std::uint32_t control = fake_processors().fpu_control;
        fpu_default_mode();
        std::_Exit(fake_processors().fpu_control == control ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace orsin
