// Lists when memory runs short: shorter, never broken.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/directory_list.h"
#include "files/name_cache.h"
#include "orsincore/files.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::AllocationRefusal;
using test::Lines;

class ListMemory : public testing::Test {
 protected:
  ListMemory() : list_(make_list()) { prepare_listing(); }

  // The names' pool then needs no memory of its own.
  static void give_back_a_warm_block() { NameReturn().give_back(take_name(5), 5); }

  UniqueList list_;
  test::LogCapture log_;
};

TEST_F(ListMemory, LeavesOutAFileWhoseEntryFindsNoRoom) {
  ASSERT_TRUE(add_file(*list_, "first", 0));
  for (int i = 1; i < 1024; ++i) {
    ASSERT_TRUE(add_file(*list_, "more", 0));
  }
  {
    const AllocationRefusal refusal(1152 * sizeof(dir_list_entry));
    const long before = test::live_blocks();
    EXPECT_FALSE(add_file(*list_, std::string(200, 'n').c_str(), 0));  // Outside the names' pool.
    EXPECT_EQ(test::live_blocks(), before);
  }

  EXPECT_EQ(log_.lines(), Lines{"ERROR: ALLOC ENSURE: Not enough memory.."});
  EXPECT_EQ(list_->entry_count, 1024);
  EXPECT_EQ(list_->entry_capacity, 1024);
  EXPECT_EQ(list_->file_count, 1024);
  EXPECT_STREQ(list_->files[0], "first");
  EXPECT_TRUE(add_file(*list_, "again", 0));
  EXPECT_STREQ(list_->files[1024], "again");
}

TEST_F(ListMemory, LeavesOutAnEntryWhenTheFirstArrayCannotBeHad) {
  give_back_a_warm_block();
  {
    const AllocationRefusal refusal(1024 * sizeof(char*));
    EXPECT_FALSE(add_file(*list_, "short", 0));
    EXPECT_FALSE(add_directory(*list_, "short", "", 0));
  }

  EXPECT_EQ(list_->entry_count, 0);
  EXPECT_EQ(list_->file_count, 0);
  EXPECT_EQ(list_->dir_count, 0);
}

TEST_F(ListMemory, KeepsAnEntryWhoseNameFindsNoSlot) {
  for (int i = 0; i < 128; ++i) {
    ASSERT_TRUE(add_directory(*list_, "sub", "", 0));
  }
  {
    const AllocationRefusal refusal(256 * sizeof(char*));
    EXPECT_FALSE(add_directory(*list_, "one more", "", 0));
  }

  EXPECT_EQ(list_->dir_count, 128);
  EXPECT_EQ(list_->entry_count, 129);
  EXPECT_EQ(log_.lines(), Lines{"ERROR: ALLOC ENSURE: Not enough memory.."});
}

TEST_F(ListMemory, LeavesOutALongNameThatCannotBeStored) {
  const std::string name(200, 'n');
  {
    const AllocationRefusal refusal(201);
    EXPECT_FALSE(add_file(*list_, name.c_str(), 0));
  }

  EXPECT_EQ(list_->entry_count, 0);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ListMemory, IsSortedByTimeWithoutRoomToMergeIn) {
  for (unsigned long long time = 40; time > 0; --time) {
    ASSERT_TRUE(add_file(*list_, "file", time));
  }
  const AllocationRefusal refusal(1);

  flist_sort(list_.get(), 2);

  for (unsigned long long i = 0; i < 40; ++i) {
    EXPECT_EQ(list_->entries[i].write_time, i + 1);
  }
}

TEST_F(ListMemory, LeavesOutALongDirectoryNameThatCannotBeStored) {
  const std::string name(200, 'n');
  const AllocationRefusal refusal(201);

  EXPECT_FALSE(add_directory(*list_, name.c_str(), "", 0));

  EXPECT_EQ(list_->entry_count, 0);
  EXPECT_EQ(list_->dir_count, 0);
}

// A tree copy goes by that: what is not listed would not be copied, and nobody would know.
TEST_F(ListMemory, IsNotWholeWithoutAFileThatFoundNoRoom) {
  const test::TemporaryDirectory directory;
  for (int i = 0; i < 1030; ++i) {
    directory.write(std::to_string(i), "");
  }
  ListingEnd end = ListingEnd::kWhole;
  const AllocationRefusal refusal(1152 * sizeof(dir_list_entry));

  const UniqueList list = list_directory(directory.path().c_str(), 0, end);

  EXPECT_EQ(end, ListingEnd::kBrokenOff);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->file_count, 1024);
}

TEST_F(ListMemory, IsGivenBackByTheFlush) {
  ASSERT_TRUE(add_file(*list_, "short", 0));
  list_.reset();
  const long before = test::live_blocks();

  flist_flushcache();

  EXPECT_LT(test::live_blocks(), before);
}

TEST_F(ListMemory, GivesNoListWithoutARecord) {
  const AllocationRefusal refusal(sizeof(dir_list));

  EXPECT_EQ(flist_new("C:\\", 0), nullptr);
  EXPECT_EQ(flist_findfiles("C:\\", "*", false, 0), nullptr);
  EXPECT_EQ(flist_mountp(false), nullptr);
  ListingEnd end = ListingEnd::kWhole;
  EXPECT_EQ(list_directory("C:\\", 0, end), nullptr);
  EXPECT_EQ(end, ListingEnd::kNotOpened);
}

}  // namespace
}  // namespace orsin
