#include "memory/allocation_table.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

TEST(AllocationTable, HasHeldNothingAtFirst) {
  EXPECT_EQ(AllocationTable().peak_bytes(), 0U);
}

TEST(AllocationTable, FindsWhatItRemembers) {
  AllocationTable table;

  table.remember({0x1000, 100, 0});
  table.remember({0x2000, 200, 1});

  ASSERT_NE(table.find(0x2000), nullptr);
  EXPECT_EQ(table.find(0x2000)->size_bytes, 200u);
  EXPECT_EQ(table.find(0x2000)->is_locked, 1);
  EXPECT_EQ(table.find(0x3000), nullptr);
}

TEST(AllocationTable, SearchesTheNewestRecordFirst) {
  AllocationTable table;

  table.remember({0x1000, 100, 0});
  table.remember({0x1000, 300, 0});

  ASSERT_NE(table.find(0x1000), nullptr);
  EXPECT_EQ(table.find(0x1000)->size_bytes, 300u);
}

TEST(AllocationTable, KeepsTheOrderOfTheRecordsThatStay) {
  AllocationTable table;
  for (std::uint64_t i = 1; i <= 4; ++i) {
    table.remember({i * 0x1000, i, 0});
  }

  table.forget(table.find(0x2000));

  const AllocationRecord* first = table.find(0x1000);
  EXPECT_EQ(first[1].address, 0x3000u);
  EXPECT_EQ(first[2].address, 0x4000u);
  EXPECT_EQ(table.count(), 3);
}

TEST(AllocationTable, KeepsTheHighestTotalItHeld) {
  AllocationTable table;
  table.remember({0x1000, 100, 0});
  table.remember({0x2000, 50, 0});

  table.forget(table.find(0x1000));

  EXPECT_EQ(table.held_bytes(), 50u);
  EXPECT_EQ(table.peak_bytes(), 150u);
}

TEST(AllocationTable, GivesItsMemoryBackWithTheLastByteAndStartsAgainAtSixteen) {
  AllocationTable table;
  for (std::uint64_t i = 1; i <= 17; ++i) {
    table.remember({i, 1, 0});
  }
  EXPECT_EQ(table.capacity(), 32);

  for (std::uint64_t i = 1; i <= 17; ++i) {
    table.forget(table.find(i));
  }
  EXPECT_EQ(table.capacity(), 0);
  EXPECT_EQ(table.count(), 0);

  table.remember({1, 1, 0});
  EXPECT_EQ(table.capacity(), 16);
}

TEST(AllocationTable, DoublesBelow1024RecordsAndThenGrowsBy128) {
  struct Growth {
    int count;
    int capacity;
  };
  constexpr Growth kGrowths[] = {{1, 16},      {16, 16},     {17, 32},     {512, 512},  {513, 1024},
                                 {1024, 1024}, {1025, 1152}, {1152, 1152}, {1153, 1280}};
  AllocationTable table;

  for (const Growth& growth : kGrowths) {
    SCOPED_TRACE(growth.count);
    while (table.count() < growth.count) {
      table.remember({static_cast<std::uint64_t>(table.count()) + 1, 1, 0});
    }
    EXPECT_EQ(table.capacity(), growth.capacity);
  }
}

TEST(AllocationTable, KeepsTheBytesOfAnAllocationThatItHasNoRoomToRemember) {
  const LogCapture log;
  AllocationTable table;
  {
    const test::AllocationRefusal refusal(16 * sizeof(AllocationRecord));
    table.remember({0x1000, 4096, 0});
  }

  EXPECT_EQ(log.lines(), Lines{"ERROR: Vector ensure: Not enough memory..(0 + 1 * 24)"});
  EXPECT_EQ(table.find(0x1000), nullptr);
  EXPECT_EQ(table.held_bytes(), 4096u);
  EXPECT_EQ(table.peak_bytes(), 4096u);
}

TEST(AllocationTable, KnowsNothingAfterItHasBeenCleared) {
  AllocationTable table;
  table.remember({0x1000, 100, 0});

  table.clear();

  EXPECT_EQ(table.find(0x1000), nullptr);
  EXPECT_EQ(table.count(), 0);
  EXPECT_EQ(table.held_bytes(), 0u);
  EXPECT_EQ(table.peak_bytes(), 0u);
}

TEST(AllocationTable, AgreesWithAPlainListOverRandomCalls) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  AllocationTable table;
  std::vector<AllocationRecord> model;
  std::uint64_t held = 0;

  for (int step = 0; step < 20000; ++step) {
    const std::uint64_t address = random() % 64;
    if (random() % 2 == 0) {
      const AllocationRecord record = {address, random() % 1000 + 1, 0};
      table.remember(record);
      model.push_back(record);
      held += record.size_bytes;
    } else {
      const auto found =
          std::find_if(model.rbegin(), model.rend(),
                       [&](const AllocationRecord& record) { return record.address == address; });
      const AllocationRecord* record = table.find(address);
      ASSERT_EQ(record == nullptr, found == model.rend());
      if (record != nullptr) {
        ASSERT_EQ(record->size_bytes, found->size_bytes);
        held -= record->size_bytes;
        table.forget(record);
        model.erase(std::next(found).base());
      }
    }
    ASSERT_EQ(table.held_bytes(), held);
    ASSERT_EQ(table.count(), static_cast<int>(model.size()));
  }
}

}  // namespace
}  // namespace orsin
