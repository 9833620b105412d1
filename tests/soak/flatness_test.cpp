#include "tests/soak/flatness.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace orsin::soak {
namespace {

constexpr int kLooks = 30;

// Some noise that repeats with a period of five.
std::vector<std::int64_t> noisy(std::int64_t level, std::int64_t noise) {
  std::vector<std::int64_t> figures;
  for (int i = 0; i < kLooks; ++i) {
    figures.push_back(level + (i * 2 % 5) * noise);
  }
  return figures;
}

TEST(Flatness, PassesWhatStaysTheSame) {
  EXPECT_TRUE(judge_flatness(std::vector<std::int64_t>(kLooks, 120), 0).is_flat);
}

TEST(Flatness, PassesNoise) {
  EXPECT_TRUE(judge_flatness(noisy(120, 2), 2).is_flat);
}

TEST(Flatness, PassesASinglePeakWhereverItIs) {
  for (int place = 0; place < kLooks; ++place) {
    SCOPED_TRACE(place);
    std::vector<std::int64_t> figures(kLooks, 120);
    figures[static_cast<std::size_t>(place)] = 5000;

    EXPECT_TRUE(judge_flatness(figures, 0).is_flat);
  }
}

TEST(Flatness, PassesGrowthInTheFirstThird) {
  std::vector<std::int64_t> figures(kLooks, 500);
  for (int i = 0; i < kLooks / 3; ++i) {
    figures[static_cast<std::size_t>(i)] = 50 * i;
  }

  EXPECT_TRUE(judge_flatness(figures, 0).is_flat);
}

TEST(Flatness, PassesWhatFalls) {
  std::vector<std::int64_t> figures;
  for (int i = 0; i < kLooks; ++i) {
    figures.push_back(1000 - i);
  }

  EXPECT_TRUE(judge_flatness(figures, 0).is_flat);
  EXPECT_LT(judge_flatness(figures, 0).growth(), 0);
}

TEST(Flatness, NoticesALeakOfOneUnitEveryThirdLook) {
  std::vector<std::int64_t> figures = noisy(120, 1);
  for (int i = 0; i < kLooks; ++i) {
    figures[static_cast<std::size_t>(i)] += i / 3;
  }

  EXPECT_FALSE(judge_flatness(figures, 2).is_flat);
}

TEST(Flatness, NamesBothMedians) {
  std::vector<std::int64_t> figures(kLooks, 7);
  for (int i = 2 * kLooks / 3; i < kLooks; ++i) {
    figures[static_cast<std::size_t>(i)] = 11;
  }

  const Flatness flatness = judge_flatness(figures, 3);

  EXPECT_FALSE(flatness.is_flat);
  EXPECT_EQ(flatness.before, 7);
  EXPECT_EQ(flatness.after, 11);
  EXPECT_EQ(flatness.growth(), 4);
  EXPECT_TRUE(judge_flatness(figures, 4).is_flat);
}

TEST(Flatness, IsNotGrantedOnTooFewLooks) {
  EXPECT_FALSE(judge_flatness({}, 100).is_flat);
  EXPECT_FALSE(judge_flatness(std::vector<std::int64_t>(8, 120), 100).is_flat);
  EXPECT_TRUE(judge_flatness(std::vector<std::int64_t>(9, 120), 100).is_flat);
}

}  // namespace
}  // namespace orsin::soak
