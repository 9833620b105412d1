// Where names live: short ones in the pool, long ones on their own, all given back.
#include "files/name_cache.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "orsincore/files.h"
#include "tests/files/backslash_path.h"

namespace orsin {
namespace {

void give_back(char* name, std::uint32_t stored_length) {
  NameReturn().give_back(name, stored_length);
}

class NameCache : public testing::Test {
 protected:
  NameCache() { start_name_cache(); }
  ~NameCache() override { flush_name_cache(); }
};

TEST_F(NameCache, ReusesABlockOfAnyShortLength) {
  char* first = take_name(63);
  ASSERT_NE(first, nullptr);
  std::memset(first, 'x', 64);
  give_back(first, 63);

  char* second = take_name(1);

  EXPECT_EQ(second, first);
  give_back(second, 1);
}

TEST_F(NameCache, KeepsLongNamesOutOfThePool) {
  char* block = take_name(10);
  give_back(block, 10);

  char* longer = take_name(64);
  ASSERT_NE(longer, nullptr);
  std::memset(longer, 'x', 65);

  EXPECT_NE(longer, block);
  give_back(longer, 64);
  EXPECT_EQ(take_name(10), block);
  give_back(block, 10);
}

TEST_F(NameCache, HandsOutBlocksThatDoNotOverlapBeyondOneChunk) {
  constexpr std::size_t kCount = 8192 + 100;
  std::vector<char*> names(kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    names[i] = take_name(63);
    ASSERT_NE(names[i], nullptr);
    std::memset(names[i], static_cast<int>(i % 251), 64);
  }

  for (std::size_t i = 0; i < kCount; ++i) {
    const std::string expected(64, static_cast<char>(i % 251));
    ASSERT_EQ(std::memcmp(names[i], expected.data(), 64), 0) << i;
  }
  EXPECT_EQ(std::set<char*>(names.begin(), names.end()).size(), kCount);

  NameReturn back;
  for (char* name : names) {
    back.give_back(name, 63);
  }
}

TEST_F(NameCache, StartsAgainAfterAFlush) {
  give_back(take_name(5), 5);
  flush_name_cache();

  start_name_cache();
  char* name = take_name(5);

  ASSERT_NE(name, nullptr);
  give_back(name, 5);
}

TEST_F(NameCache, ServesListsOfSeveralThreadsAtOnce) {
  const test::TemporaryDirectory directory;
  const std::string long_name(70, 'n');
  for (int i = 0; i < 20; ++i) {
    directory.write("take" + std::to_string(i), "x");
    directory.write(long_name + std::to_string(i), "x");
  }
  const std::string path = test::backslashed(directory);
  std::vector<std::thread> threads;
  std::vector<int> counts(4);
  for (int& count : counts) {
    threads.emplace_back([&path, &count] {
      for (int round = 0; round < 25; ++round) {
        dir_list* list = flist_new(path.c_str(), 1);
        count += list->file_count;
        flist_delete(list);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(counts, (std::vector<int>{1000, 1000, 1000, 1000}));
}

TEST_F(NameCache, IsFlushedByTheListsFlush) {
  flist_flushcache();

  start_name_cache();
  char* name = take_name(5);
  ASSERT_NE(name, nullptr);
  give_back(name, 5);
}

}  // namespace
}  // namespace orsin
