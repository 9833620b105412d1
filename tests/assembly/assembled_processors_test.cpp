// What start-up found out about the processors, and the last entry that was run.
#include <gtest/gtest.h>

#include <string>

#include "orsincore/startup.h"
#include "orsincore/threads.h"
#include "tests/assembly/running_library.h"

namespace orsin {
namespace {

TEST(AssembledProcessors, AreThoseOfTheReport) {
  unsigned int cores = 0;
  unsigned int logical = 0;
  unsigned int features = 0;
  unsigned int state = 0;
  char name[129] = {};

  EXPECT_EQ(ov_cpu_info(&cores, &logical, name, &features, &state), 1);

  EXPECT_EQ(mp_get_numcpu(0), static_cast<int>(cores));
  EXPECT_EQ(mp_get_numcpu(1), static_cast<int>(logical));
  EXPECT_NE(test::log_line_with(std::to_string(cores) + " CPU's: " + name), "");
}

TEST(AssembledProcessors, HaveTheFeaturesThatEvery64BitProcessorHas) {
  constexpr unsigned int kSse2 = 0x4;
  constexpr unsigned int kUnknown = 0x80000000;

  EXPECT_EQ(ov_cpu_support_feature(kSse2), kSse2);
  EXPECT_EQ(ov_cpu_support_feature(kUnknown), 0u);
}

TEST(AssembledProcessors, AreNumberedFromZero) {
  const int count = mp_get_numcpu(0);

  EXPECT_EQ(mp_cpu_id(0), 0);
  EXPECT_EQ(mp_cpu_id(count - 1), count - 1);
  EXPECT_EQ(mp_cpu_id(count), -1);
  EXPECT_EQ(mp_cpu_id(-1), -1);
}

}  // namespace
}  // namespace orsin
