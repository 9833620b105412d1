// What is held with the library's own locks, counted by the stand-in.
#include <gtest/gtest.h>

#include "base/library_locks.h"
#include "tests/platform/fake_system_locks.h"

namespace orsin {
namespace {

TEST(AllLibraryLocks, AreHeldWithTheSystems) {
  ASSERT_EQ(test::system_locks_held(), 0);
  {
    const AllLibraryLocks held;

    EXPECT_EQ(test::system_locks_held(), 1);
  }

  EXPECT_EQ(test::system_locks_held(), 0);
}

}  // namespace
}  // namespace orsin
