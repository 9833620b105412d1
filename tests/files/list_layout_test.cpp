// Hosts read lists by offset: their layout never changes.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "orsincore/files.h"

static_assert(std::is_standard_layout_v<dir_list_entry>);
static_assert(offsetof(dir_list_entry, name) == 0);
static_assert(offsetof(dir_list_entry, write_time) == 8);
static_assert(offsetof(dir_list_entry, stored_length) == 16);
static_assert(offsetof(dir_list_entry, is_directory) == 20);
static_assert(sizeof(dir_list_entry) == 24);
static_assert(sizeof(dir_list_entry::is_directory) == 1);

static_assert(std::is_standard_layout_v<dir_list>);
static_assert(offsetof(dir_list, path) == 0);
static_assert(offsetof(dir_list, entry_count) == 260);
static_assert(offsetof(dir_list, entry_capacity) == 264);
static_assert(offsetof(dir_list, entries) == 272);
static_assert(offsetof(dir_list, file_count) == 280);
static_assert(offsetof(dir_list, file_capacity) == 284);
static_assert(offsetof(dir_list, files) == 288);
static_assert(offsetof(dir_list, dir_count) == 296);
static_assert(offsetof(dir_list, dir_capacity) == 300);
static_assert(offsetof(dir_list, dirs) == 304);
static_assert(sizeof(dir_list) == 312);

TEST(ListLayout, IsPinnedAtCompileTime) {
  SUCCEED();
}
