// What a thread that ends in a processor fault leaves: its place, the block, and no process.
#include <gtest/gtest.h>

#include <cstdio>

#include "orsincore/log.h"
#include "orsincore/threads.h"
#include "tests/platform/fake_modules.h"
#include "tests/platform/planted_fault.h"

namespace orsin {
namespace {

constexpr unsigned int kLongMs = 60000;
constexpr std::uint32_t kAccessViolation = 0xC0000005;

// The log is standard error, from the level on that has places; fully buffered, as a host may have it.
void end_in(EscapedFault fault) {
  std::setvbuf(stderr, nullptr, _IOFBF, 65536);
  msg_open(nullptr);
  msg_setlevel(2);
  test::fake_modules() = {{0x180000000, {"orsincore.dll", 0x80000}}};
  const auto fail = [](void* planted) {
    test::planted_fault() = *static_cast<EscapedFault*>(planted);
  };
  mp_join_thread(mp_start_thread("Worker", fail, &fault), kLongMs);
}

class FaultReportDeathTest : public testing::Test {
 protected:
  FaultReportDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(FaultReportDeathTest, IsThePlaceAndTheBlockAndTheEndOfTheProcess) {
  EXPECT_EXIT(end_in({kAccessViolation, true, 0x1800031F0, 0}), testing::ExitedWithCode(255),
              "Exception 0xc0000005 at orsincore\\.dll\\+0x31f0\n"
              "[0-9:.]+ ERROR: \\*{56}\n"
              " +: THREAD\\(Worker\\): Fatal Error \\(VM:  42%\\)\n"
              " +: \\*{56}\n$");
}

TEST_F(FaultReportDeathTest, NamesAnyFaultButAnAccessViolationByItsCode) {
  EXPECT_EXIT(end_in({0xC0000094, true, 0x1800031F0, 0}), testing::ExitedWithCode(255),
              "[0-9:.]+ ERROR: \\*{56}\n"
              " +: THREAD\\(Worker\\): Fatal Error, Exception: 0xc0000094 \\(VM:  42%\\)\n"
              " +: \\*{56}\n$");
}

}  // namespace
}  // namespace orsin
