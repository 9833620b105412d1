// The line that says where a fault came from, over modules of the test's own.
#include <gtest/gtest.h>

#include "orsincore/threads.h"
#include "tests/platform/fake_modules.h"
#include "tests/support/log_capture.h"
#include "threads/fault_place.h"

namespace orsin {
namespace {

using test::fake_modules;
using test::Lines;
using test::LogCapture;

constexpr std::uint32_t kAccessViolation = 0xC0000005;

class FaultPlace : public testing::Test {
 protected:
  void SetUp() override {
    fake_modules() = {{0x7FF600000000, {"host.exe", 0x5000}},
                      {0x180000000, {"orsincore.dll", 0x80000}}};
  }
  void TearDown() override { fake_modules().clear(); }
};

TEST_F(FaultPlace, IsTheModuleAndTheOffsetInIt) {
  const LogCapture log;

  write_fault_place({kAccessViolation, true, 0x1800031F0, 0});

  EXPECT_EQ(log.lines(),
            Lines{"INFO : THREAD(Unknown): Exception 0xc0000005 at orsincore.dll+0x31f0"});
}

TEST_F(FaultPlace, IsTheBareAddressOutsideOfAllModules) {
  const LogCapture log;

  write_fault_place({0xC000001D, true, 0x180080000, 0});

  EXPECT_EQ(log.lines(),
            Lines{"INFO : THREAD(Unknown): Exception 0xc000001d at 0x0000000180080000"});
}

TEST_F(FaultPlace, NamesTheCallerOfWhatIsNoCode) {
  const LogCapture log;

  write_fault_place({kAccessViolation, true, 0, 0x7FF600001A52});

  EXPECT_EQ(log.lines(),
            Lines{"INFO : THREAD(Unknown): Exception 0xc0000005 at 0x0000000000000000, "
                  "called from host.exe+0x1a52"});
}

TEST_F(FaultPlace, OfAFaultThatSomebodyHasThrownIsNotMadeUp) {
  const LogCapture log;

  write_fault_place({kAccessViolation, false, 0, 0});

  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(FaultPlace, HasRoomForTheLongestFileName) {
  const std::string file(255, 'm');
  fake_modules() = {{0x1000, {file, 0xFFFFFFFF00000000}}};
  const LogCapture log;

  write_fault_place({kAccessViolation, true, 0x1000 + 0xFFFFFFFE12345678, 0});

  EXPECT_EQ(log.lines(), Lines{"INFO : THREAD(Unknown): Exception 0xc0000005 at " + file +
                               "+0xfffffffe12345678"});
}

}  // namespace
}  // namespace orsin
