#include "memory/free_runs.h"

#include <gtest/gtest.h>

#include <map>
#include <numeric>
#include <random>
#include <vector>

#include "tests/support/allocation_refusal.h"

namespace orsin {
namespace {

constexpr std::uint32_t kNone = FreeRuns::kNone;

class FreeRunsTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(runs_.create(1000000, 12)); }
  void TearDown() override { runs_.destroy(); }

  FreeRuns runs_;
};

TEST_F(FreeRunsTest, KnowsARunByItsBeginAndByItsEnd) {
  runs_.insert(100, 150);

  EXPECT_EQ(runs_.end_of_run_at(100), 150u);
  EXPECT_EQ(runs_.begin_of_run_to(150), 100u);
  EXPECT_EQ(runs_.end_of_run_at(101), kNone);
  EXPECT_EQ(runs_.begin_of_run_to(149), kNone);
}

TEST_F(FreeRunsTest, ForgetsARun) {
  runs_.insert(100, 150);

  EXPECT_EQ(runs_.remove(100), 150u);

  EXPECT_EQ(runs_.end_of_run_at(100), kNone);
  EXPECT_EQ(runs_.begin_of_run_to(150), kNone);
  EXPECT_EQ(runs_.first_fit(1), kNone);
}

TEST_F(FreeRunsTest, TakesARunFromTheFirstToTheLastGranule) {
  runs_.insert(0, 1000000);

  EXPECT_EQ(runs_.first_fit(1000000), 0u);
  EXPECT_EQ(runs_.begin_of_run_to(1000000), 0u);
  EXPECT_EQ(runs_.first_fit(1000001), kNone);
}

TEST_F(FreeRunsTest, FindsTheFirstRunThatIsLongEnough) {
  runs_.insert(500000, 500030);
  runs_.insert(100, 110);
  runs_.insert(2000, 2020);

  EXPECT_EQ(runs_.first_fit(1), 100u);
  EXPECT_EQ(runs_.first_fit(11), 2000u);
  EXPECT_EQ(runs_.first_fit(21), 500000u);
  EXPECT_EQ(runs_.first_fit(31), kNone);
}

TEST_F(FreeRunsTest, FindsNothingLongerThan32BitsCanCount) {
  runs_.insert(0, 1000000);

  EXPECT_EQ(runs_.first_fit(std::uint64_t{1} << 40), kNone);
}

// Memory is touched for as many runs as there are at a time, wherever they come and go.
TEST_F(FreeRunsTest, UsesTheLeavesOfRunsThatHaveGone) {
  constexpr std::uint32_t kAtATime = 10;
  for (std::uint32_t turn = 0; turn < 5000; ++turn) {
    runs_.insert(turn * 200, turn * 200 + 100);
    if (turn >= kAtATime) {
      runs_.remove((turn - kAtATime) * 200);
    }
  }

  EXPECT_LE(runs_.leaves_touched(), kAtATime + 1);
  EXPECT_EQ(runs_.first_fit(1), (5000 - kAtATime) * 200);
}

TEST_F(FreeRunsTest, UsesEveryLeafAgainAfterAllHaveGone) {
  constexpr std::uint32_t kRuns = 20;
  for (std::uint32_t turn = 0; turn < 3; ++turn) {
    const std::uint32_t offset = turn * 100000;
    for (std::uint32_t run = 0; run < kRuns; ++run) {
      runs_.insert(offset + run * 200, offset + run * 200 + 100);
    }
    EXPECT_EQ(runs_.leaves_touched(), kRuns);
    for (std::uint32_t run = 0; run < kRuns; ++run) {
      EXPECT_EQ(runs_.remove(offset + run * 200), offset + run * 200 + 100);
    }
  }

  EXPECT_EQ(runs_.first_fit(1), kNone);
}

// Slots are as large as the distance between runs allows, so that few leaves serve many runs.
TEST_F(FreeRunsTest, KeepsRunsThatLieCloseTogetherInOneLeaf) {
  constexpr std::uint32_t kDistanceMin = 12;
  for (std::uint32_t begin = 0; begin < 128; begin += kDistanceMin) {
    runs_.insert(begin, begin + 6);
  }

  EXPECT_EQ(runs_.leaves_touched(), 1u);
}

TEST_F(FreeRunsTest, KnowsARunOfOneGranuleByItsEnd) {
  for (std::uint32_t begin = 100; begin < 400; ++begin) {
    SCOPED_TRACE(begin);
    runs_.insert(begin, begin + 1);

    EXPECT_EQ(runs_.begin_of_run_to(begin + 1), begin);
    EXPECT_EQ(runs_.begin_of_run_to(begin), kNone);
    EXPECT_EQ(runs_.first_fit(1), begin);
    EXPECT_EQ(runs_.first_fit(2), kNone);

    EXPECT_EQ(runs_.remove(begin), begin + 1);
  }
}

TEST_F(FreeRunsTest, FindsTheRunBeforeAGranuleOverAnyDistance) {
  for (const std::uint32_t end : {20u, 200u, 2000u, 20000u, 200000u, 1000000u}) {
    SCOPED_TRACE(end);
    runs_.insert(5, end);

    EXPECT_EQ(runs_.begin_of_run_to(end), 5u);
    EXPECT_EQ(runs_.begin_of_run_to(end - 1), kNone);

    runs_.remove(5);
  }
}

TEST(FreeRunsCreation, NeedsMemory) {
  const test::AllocationRefusal refusal(1000);
  FreeRuns runs;

  EXPECT_FALSE(runs.create(1000000, 12));

  EXPECT_FALSE(runs.exists());
}

TEST(FreeRunsCreation, RefusesAHeapThatItCannotCount) {
  FreeRuns runs;

  EXPECT_FALSE(runs.create(std::uint64_t{1} << 32, 4));
  EXPECT_FALSE(runs.exists());

  EXPECT_FALSE(runs.create(kNone, 512));  // A granule of that number means none.
  EXPECT_FALSE(runs.exists());
}

TEST(FreeRunsCreation, ServesTheSmallestHeap) {
  FreeRuns runs;
  ASSERT_TRUE(runs.create(1, 2));

  runs.insert(0, 1);

  EXPECT_EQ(runs.first_fit(1), 0u);
  runs.destroy();
}

// One level more, one line more, one word more: each size has its own last granule.
TEST(FreeRunsCreation, ServesBothEndsOfAnySize) {
  const test::FencedMemory memory;
  std::vector<std::uint64_t> sizes(9000);
  std::iota(sizes.begin(), sizes.end(), std::uint64_t{4});
  for (const std::uint64_t granules : {65535u, 65536u, 131071u, 131072u, 131073u, 1048576u}) {
    sizes.push_back(granules);
  }
  for (const std::uint64_t granules : sizes) {
    SCOPED_TRACE(granules);
    const auto last = static_cast<std::uint32_t>(granules) - 1;
    FreeRuns runs;
    ASSERT_TRUE(runs.create(granules, 2));

    runs.insert(last, last + 1);
    runs.mark_unjoined(last);
    ASSERT_EQ(runs.first_fit(1), last);
    ASSERT_EQ(runs.first_unjoined(), last);
    ASSERT_EQ(runs.begin_of_run_to(last + 1), last);
    ASSERT_EQ(runs.end_of_run_at(0), kNone);
    runs.insert(0, 1);
    runs.mark_unjoined(0);
    ASSERT_EQ(runs.first_fit(1), 0u);
    ASSERT_EQ(runs.first_unjoined(), 0u);
    ASSERT_EQ(runs.end_of_run_at(last), last + 1);
    ASSERT_EQ(runs.remove(0), 1u);
    ASSERT_EQ(runs.first_unjoined(), last);
    ASSERT_EQ(runs.remove(last), last + 1);
    ASSERT_EQ(runs.first_fit(1), kNone);
    ASSERT_EQ(runs.first_unjoined(), kNone);

    ASSERT_TRUE(memory.is_intact());
    runs.destroy();
  }
}

TEST(FreeRunsCreation, KnowsToTheGranuleWhereRunsBeginThatLieFarApart) {
  FreeRuns runs;
  ASSERT_TRUE(runs.create(1000000, 5000));

  for (const std::uint32_t begin : {0u, 255u, 256u, 511u, 512u, 767u, 999999u}) {
    SCOPED_TRACE(begin);
    runs.insert(begin, begin + 1);

    EXPECT_EQ(runs.first_fit(1), begin);
    EXPECT_EQ(runs.end_of_run_at(begin), begin + 1);

    runs.remove(begin);
  }
  runs.destroy();
}

// The index against an ordered map, on a line where runs and gaps have at least six granules.
TEST(FreeRunsModel, AgreesWithAnOrderedMap) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  constexpr std::uint32_t kGranules = 200000;
  struct Run {
    std::uint32_t end;
    bool is_unjoined;
  };
  std::map<std::uint32_t, Run> model;
  FreeRuns runs;
  ASSERT_TRUE(runs.create(kGranules, 12));

  for (int step = 0; step < 200000; ++step) {
    const std::uint32_t begin = random() % (kGranules - 100);
    const auto next = model.lower_bound(begin);
    const std::uint32_t what = random() % 8;
    if (what < 4) {
      const std::uint32_t end = begin + 6 + random() % 90;
      const bool clear_behind = next == model.end() || next->first >= end + 6;
      const bool clear_before = next == model.begin() || std::prev(next)->second.end + 6 <= begin;
      if (clear_behind && clear_before) {
        model[begin] = {end, false};
        runs.insert(begin, end);
      }
    } else if (what < 6 && next != model.end()) {
      ASSERT_EQ(runs.end_of_run_at(next->first), next->second.end);
      ASSERT_EQ(runs.begin_of_run_to(next->second.end), next->first);
      ASSERT_EQ(runs.is_unjoined(next->first), next->second.is_unjoined);
      ASSERT_EQ(runs.remove(next->first), next->second.end);
      model.erase(next);
    } else if (next != model.end()) {
      next->second.is_unjoined = what == 6;
      what == 6 ? runs.mark_unjoined(next->first) : runs.mark_joined(next->first);
    }

    const std::uint32_t length = random() % 100 + 1;
    std::uint32_t fit = kNone;
    std::uint32_t unjoined = kNone;
    if (step % 16 == 0) {
      for (const auto& [run_begin, run] : model) {
        fit = fit == kNone && run.end - run_begin >= length ? run_begin : fit;
        unjoined = unjoined == kNone && run.is_unjoined ? run_begin : unjoined;
      }
      ASSERT_EQ(runs.first_fit(length), fit);
      ASSERT_EQ(runs.first_unjoined(), unjoined);
    }
  }
  runs.destroy();
}

}  // namespace
}  // namespace orsin
