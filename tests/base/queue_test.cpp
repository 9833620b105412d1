// The public ring, whose header is compiled into hosts and must not throw there either.
#include <gtest/gtest.h>

#include <limits>

#include "orsincore/base.h"

namespace orsin {
namespace {

TEST(Queue, GivesItsEntriesInTheOrderOfTheirPushes) {
  ov_queue<int> queue(3);
  int entry = 0;
  for (int round = 0; round < 4; ++round) {  // More than the ring has room for, one by one.
    EXPECT_TRUE(queue.push(round));
    EXPECT_TRUE(queue.push(round + 10));

    EXPECT_TRUE(queue.take(entry));
    EXPECT_EQ(entry, round);
    EXPECT_TRUE(queue.take(entry));
    EXPECT_EQ(entry, round + 10);
  }
  EXPECT_FALSE(queue.take(entry));
}

TEST(Queue, DropsWhatHasNoRoom) {
  ov_queue<int> queue(2);

  EXPECT_TRUE(queue.push(1));
  EXPECT_TRUE(queue.push(2));
  EXPECT_FALSE(queue.push(3));

  EXPECT_EQ(queue.count(), 2);
}

TEST(Queue, PushesARunAcrossItsEndAndMakesOnlyWhatHasRoom) {
  ov_queue<int> queue(5);
  int made = 0;
  const auto make_next = [&made] { return made++; };
  int entry = 0;
  ASSERT_EQ(queue.push_each(3, make_next), 3);
  ASSERT_TRUE(queue.take(entry));
  ASSERT_TRUE(queue.take(entry));

  EXPECT_EQ(queue.push_each(10, make_next), 4);
  EXPECT_EQ(queue.push_each(0, make_next), 0);
  EXPECT_EQ(queue.push_each(-1, make_next), 0);

  EXPECT_EQ(made, 7);
  for (int expected = 2; expected < 7; ++expected) {
    EXPECT_TRUE(queue.take(entry));
    EXPECT_EQ(entry, expected);
  }
  EXPECT_FALSE(queue.take(entry));
}

TEST(Queue, OfANegativeOrZeroCapacityHasRoomForNothing) {
  for (const int capacity : {0, -1, std::numeric_limits<int>::min()}) {
    SCOPED_TRACE(capacity);
    ov_queue<int> queue(capacity);
    int entry = 7;

    EXPECT_EQ(queue.capacity(), 0);
    EXPECT_FALSE(queue.push(1));
    EXPECT_FALSE(queue.take(entry));
  }
}

TEST(Queue, OfMoreBytesThanThereAreHasRoomForNothing) {
  struct Reel {
    char frames[std::size_t{1} << 33];  // With the count below, more than 64 bits can say.
  };

  const ov_queue<Reel> queue(std::numeric_limits<int>::max());

  EXPECT_EQ(queue.capacity(), 0);
}

}  // namespace
}  // namespace orsin
