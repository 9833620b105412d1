#include "files/merge_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace orsin {
namespace {

struct Item {
  int key;
  int place;  // Where it stood before sorting.
};

bool operator==(const Item& a, const Item& b) {
  return a.key == b.key && a.place == b.place;
}

int by_key(const Item& a, const Item& b) {
  return a.key - b.key;
}

std::vector<Item> random_items(std::size_t count, int keys, std::mt19937& random) {
  std::vector<Item> items;
  for (std::size_t i = 0; i < count; ++i) {
    const int key = static_cast<int>(random() % static_cast<unsigned>(keys));
    items.push_back({key, static_cast<int>(i)});
  }
  return items;
}

TEST(MergeSort, LeavesNothingAndOneElementAlone) {
  Item one{7, 0};

  merge_sort(static_cast<Item*>(nullptr), 0, by_key);
  merge_sort(&one, 1, by_key);

  EXPECT_EQ(one.key, 7);
}

TEST(MergeSort, AgreesWithTheStandardStableSortForEveryLength) {
  const std::uint32_t seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);

  for (std::size_t count = 0; count < 300; ++count) {
    std::vector<Item> items = random_items(count, count % 2 == 0 ? 5 : 1000, random);
    std::vector<Item> expected = items;
    std::stable_sort(expected.begin(), expected.end(),
                     [](const Item& a, const Item& b) { return a.key < b.key; });

    merge_sort(items.data(), items.size(), by_key);

    ASSERT_EQ(items, expected) << count;
  }
}

TEST(MergeSort, KeepsASortedArrayWithOneQuestionForEachNeighbour) {
  std::vector<Item> items;
  for (int i = 0; i < 1000; ++i) {
    items.push_back({i, i});
  }
  const std::vector<Item> expected = items;
  int questions = 0;

  merge_sort(items.data(), items.size(), [&](const Item& a, const Item& b) {
    ++questions;
    return by_key(a, b);
  });

  EXPECT_EQ(items, expected);
  EXPECT_LT(questions, 1100);
}

TEST(MergeSort, GivesAPermutationForARelationThatIsNoOrder) {
  const std::uint32_t seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);

  for (std::size_t count = 0; count < 200; ++count) {
    std::vector<Item> items = random_items(count, 50, random);
    std::vector<Item> expected = items;

    merge_sort(items.data(), items.size(),
               [&](const Item&, const Item&) { return static_cast<int>(random() % 3) - 1; });

    const auto by_place = [](const Item& a, const Item& b) { return a.place < b.place; };
    std::sort(items.begin(), items.end(), by_place);
    ASSERT_EQ(items, expected) << count;
  }
}

TEST(MergeSort, GivesTheSameResultForACycleEveryTime) {
  // Stone, scissors, paper: each goes before the next.
  const auto cyclic = [](const int& a, const int& b) { return (b - a + 3) % 3 == 2 ? 1 : a - b; };
  std::vector<int> first;
  for (int i = 0; i < 500; ++i) {
    first.push_back(i * 7 % 3);
  }
  std::vector<int> second = first;

  merge_sort(first.data(), first.size(), cyclic);
  merge_sort(second.data(), second.size(), cyclic);

  EXPECT_EQ(first, second);
}

}  // namespace
}  // namespace orsin
