#include "examples/host/heap_chart.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace host {
namespace {

constexpr std::uint64_t kMib = 1048576;

HeapSnapshot heap_of(const std::string& name, std::vector<Block> blocks) {
  HeapSnapshot heap;
  heap.name = name;
  heap.size = 64 * kMib;
  heap.granule = 4096;
  heap.blocks = std::move(blocks);
  return heap;
}

Moment sample() {
  return {"At work",
          "a film",
          {heap_of("Frame", {{0, 16 * kMib, BlockState::kUsed},
                             {16 * kMib, 8 * kMib, BlockState::kLocked},
                             {24 * kMib, kMib, BlockState::kExLocked},
                             {25 * kMib, 39 * kMib, BlockState::kFree}})}};
}

std::size_t count(std::string_view text, std::string_view part) {
  std::size_t found = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos;
       at = text.find(part, at + 1)) {
    ++found;
  }
  return found;
}

// Whether every element that is opened is closed, innermost first.
bool is_balanced(std::string_view picture) {
  std::vector<std::string_view> open;
  for (std::size_t at = picture.find('<'); at != std::string_view::npos;
       at = picture.find('<', at + 1)) {
    const std::size_t end = picture.find('>', at);
    if (end == std::string_view::npos) {
      return false;
    }
    const std::string_view tag = picture.substr(at + 1, end - at - 1);
    if (tag.starts_with('/')) {
      if (open.empty() || open.back() != tag.substr(1)) {
        return false;
      }
      open.pop_back();
    } else if (!tag.ends_with('/')) {
      open.push_back(tag.substr(0, tag.find(' ')));
    }
  }
  return open.empty();
}

TEST(HeapText, ShowsAStripInLettersWithItsSums) {
  EXPECT_EQ(describe(sample()),
            "At work: a film\n"
            "  Frame  |================########@.......................................| "
            "used 16.0, locked 8.0, ex-locked 1.0, free 39.0, largest gap 39.0 MiB\n");
}

TEST(HeapText, ShowsALockHoweverSmallItIs) {
  Moment moment = sample();
  moment.heaps[0].blocks = {{0, 4096, BlockState::kLocked},
                            {4096, 8192, BlockState::kExLocked},
                            {12288, 63 * kMib, BlockState::kUsed},
                            {12288 + 63 * kMib, kMib - 12288, BlockState::kFree}};

  EXPECT_NE(describe(moment).find("|@==============="), std::string::npos);
}

TEST(HeapText, ExplainsItsLetters) {
  EXPECT_EQ(
      legend_line(),
      "Letters:  = used  # locked  @ ex-locked  . free (a column shows any lock in it; sums in"
      " MiB)\n");
}

TEST(HeapChart, IsAWellFormedPicture) {
  const std::string picture = draw_chart({sample(), sample()});

  EXPECT_TRUE(is_balanced(picture));
  EXPECT_TRUE(picture.starts_with("<svg "));
}

TEST(HeapChart, HasALegendAndASeriesOfStrips) {
  const std::string picture = draw_chart({sample()});

  for (const char* state : {"used", "locked", "ex-locked", "free"}) {
    SCOPED_TRACE(state);
    // Once in the legend and once in the strip, where the free ground lies under all blocks.
    const std::size_t expected = std::string_view(state) == "free" ? 3 : 2;
    EXPECT_EQ(count(picture, "<rect class=\"" + std::string(state) + "\""), expected);
  }
  EXPECT_NE(picture.find(">64.0 MiB in units of 4 KiB; "), std::string::npos);
  EXPECT_NE(picture.find("used 16.0, locked 8.0, ex-locked 1.0, free 39.0, largest gap 39.0 MiB"),
            std::string::npos);
}

TEST(HeapChart, NamesEachBlockUnderTheMouse) {
  const std::string picture = draw_chart({sample()});

  EXPECT_NE(picture.find("<title>locked, 1 block, 8.0 MiB from 16.0 MiB</title>"),
            std::string::npos);
}

TEST(HeapChart, DrawsThinNeighboursAsOneBox) {
  Moment moment = sample();
  moment.heaps[0].blocks.clear();
  for (std::uint64_t i = 0; i < 512; ++i) {
    moment.heaps[0].blocks.push_back({i * 4096, 4096, BlockState::kUsed});
  }

  const std::string picture = draw_chart({moment});

  EXPECT_EQ(count(picture, "<rect class=\"used\""), 2u);
  EXPECT_NE(picture.find("<title>used, 512 blocks, 2.0 MiB from 0.0 MiB</title>"),
            std::string::npos);
}

TEST(HeapChart, SaysWhereNothingHasChanged) {
  Moment later = sample();
  EXPECT_EQ(count(draw_chart({sample(), later}), ">unchanged<"), 1u);

  later.heaps[0].blocks[0].state = BlockState::kFree;
  EXPECT_EQ(count(draw_chart({sample(), later}), ">unchanged<"), 0u);
}

}  // namespace
}  // namespace host
