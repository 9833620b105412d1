#include "memory/system_memory.h"

#include <gtest/gtest.h>

#include "orsincore/memory.h"

namespace orsin {
namespace {

TEST(PageSize, IsNeverBelow512) {
  EXPECT_EQ(usable_page_size(0), 512);
  EXPECT_EQ(usable_page_size(511), 512);
  EXPECT_EQ(usable_page_size(512), 512);
  EXPECT_EQ(usable_page_size(16384), 16384);
  EXPECT_GE(mem_pagesize(), 512);
}

TEST(PageSize, StaysTheSame) {
  EXPECT_EQ(mem_pagesize(), mem_pagesize());
}

TEST(LargestUsableBlock, FollowsTheFiguresOfTheMachine) {
  struct Case {
    const char* what;
    std::uint64_t largest_free, available, total, expected;
  };
  constexpr Case kCases[] = {
      {"region smaller than what is available", 10, 80, 100, 10},
      {"region equal to what is available", 80, 80, 100, 80},
      {"region larger, most of the machine available", 90, 80, 100, 80},
      {"less than half available, region above half", 60, 40, 100, 50},
      {"less than half available, region just half", 50, 40, 100, 40},
      {"exactly half available", 60, 50, 100, 50},
      {"nothing available", 60, 0, 100, 50},
      {"no free region", 0, 40, 100, 0},
  };

  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(largest_usable_block(c.largest_free, c.available, c.total), c.expected);
  }
}

TEST(MemoryInformation, IsAboutThisMachine) {
  mem_info_str info = {};

  const std::uint64_t available = mem_info(&info);

  EXPECT_EQ(available, info.available_physical);
  EXPECT_GT(info.total_physical, 0u);
  EXPECT_LE(info.available_physical, info.total_physical);
  EXPECT_LE(info.available_virtual, info.total_virtual);
}

TEST(AutoreleasePool, IsNothing) {
  EXPECT_EQ(ov_create_autorelease_pool(), nullptr);
  ov_release_autorelease_pool(nullptr);
}

}  // namespace
}  // namespace orsin
