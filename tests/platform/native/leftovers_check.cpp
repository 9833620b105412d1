// A test that leaves a file open, or pages taken from the system, fails, whichever part of the library
// forgot them: on the systems that the library is for, nobody could write, rename or delete that file
// until the process has ended, and blocks of a stream's size would soon fill the memory.
#include <fcntl.h>
#include <gtest/gtest.h>

#include "tests/platform/native/pages_native.h"

namespace orsin::test {
namespace {

constexpr int kDescriptorsLooked = 1024;  // The lowest free one is what the system gives out.

int count_open_files() {
  int count = 0;
  for (int descriptor = 0; descriptor < kDescriptorsLooked; ++descriptor) {
    count += ::fcntl(descriptor, F_GETFD) != -1 ? 1 : 0;
  }
  return count;
}

class LeftoversCheck : public testing::EmptyTestEventListener {
 private:
  void OnTestStart(const testing::TestInfo& /*test*/) override {
    files_before_ = count_open_files();
    regions_before_ = count_regions_taken();
  }

  // The test's fixture is gone by now.
  void OnTestEnd(const testing::TestInfo& /*test*/) override {
    EXPECT_LE(count_open_files(), files_before_) << "open files: after the test and before";
    EXPECT_LE(count_regions_taken(), regions_before_) << "regions of pages: after and before";
  }

  int files_before_ = 0;
  std::size_t regions_before_ = 0;
};

// Part of every native test program; the listeners belong to the framework.
[[maybe_unused]] const bool is_listening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new LeftoversCheck);
  return true;
}();

}  // namespace
}  // namespace orsin::test
