#include "examples/host/ingest/block_ring.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace host::ingest {
namespace {

// Numbers its blocks in their first bytes, as a reader of files does.
void fill(BlockRing& ring, int count) {
  for (int i = 0; i < count; ++i) {
    unsigned char* const block = ring.empty_block();
    if (block == nullptr) {
      return;
    }
    std::memcpy(block, &i, sizeof(i));
    ring.publish(sizeof(i));
  }
  ring.finish();
}

std::vector<int> use(BlockRing& ring, std::size_t user) {
  std::vector<int> seen;
  Block block;
  while (ring.next(user, block)) {
    int number = 0;
    std::memcpy(&number, block.data, block.bytes);
    seen.push_back(number);
  }
  return seen;
}

TEST(IngestBlockRing, ShowsEveryBlockToEveryUserInOrder) {
  constexpr int kCount = 2000;
  std::vector<unsigned char> memory(4 * 64);
  BlockRing ring(memory.data(), 64, 4, 3);
  std::vector<std::vector<int>> seen(3);
  std::vector<std::thread> users;
  for (std::size_t i = 0; i < 3; ++i) {
    users.emplace_back([&ring, &seen, i] { seen[i] = use(ring, i); });
  }

  fill(ring, kCount);
  for (std::thread& user : users) {
    user.join();
  }

  for (const std::vector<int>& numbers : seen) {
    ASSERT_EQ(numbers.size(), static_cast<std::size_t>(kCount));
    for (int i = 0; i < kCount; ++i) {
      ASSERT_EQ(numbers[static_cast<std::size_t>(i)], i);
    }
  }
}

TEST(IngestBlockRing, IsNotHeldBackByAUserThatLeft) {
  std::vector<unsigned char> memory(2 * 64);
  BlockRing ring(memory.data(), 64, 2, 2);
  ring.leave(1);
  std::vector<int> seen;
  std::thread user([&] { seen = use(ring, 0); });

  fill(ring, 100);
  user.join();

  EXPECT_EQ(seen.size(), 100U);
}

TEST(IngestBlockRing, FillsNoBlockThatSomebodyStillUses) {
  std::vector<unsigned char> memory(2 * 64);
  BlockRing ring(memory.data(), 64, 2, 1);
  unsigned char* const first = ring.empty_block();
  ring.publish(1);
  ring.publish(1);
  Block block;
  ASSERT_TRUE(ring.next(0, block));
  std::thread stopper([&ring] { ring.stop(); });

  EXPECT_EQ(block.data, first);
  EXPECT_EQ(ring.empty_block(), nullptr);  // Waits for the user until it is stopped.
  stopper.join();
}

TEST(IngestBlockRing, WakesItsUsersWhenItIsStopped) {
  std::vector<unsigned char> memory(2 * 64);
  BlockRing ring(memory.data(), 64, 2, 1);
  std::vector<int> seen = {1};
  std::thread user([&] { seen = use(ring, 0); });

  ring.stop();
  user.join();

  EXPECT_TRUE(seen.empty());
  EXPECT_TRUE(ring.is_stopped());
}

}  // namespace
}  // namespace host::ingest
