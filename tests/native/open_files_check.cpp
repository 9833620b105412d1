// A test that leaves a file open fails, whichever part of the library forgot it: on the systems that
// the library is for, nobody could write, rename or delete that file until the process has ended.
#include <fcntl.h>
#include <gtest/gtest.h>

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

class OpenFilesCheck : public testing::EmptyTestEventListener {
 private:
  void OnTestStart(const testing::TestInfo& /*test*/) override { before_ = count_open_files(); }

  // The test's fixture is gone by now.
  void OnTestEnd(const testing::TestInfo& /*test*/) override {
    EXPECT_LE(count_open_files(), before_) << "open files: before and after the test";
  }

  int before_ = 0;
};

// Part of every native test program; the listeners belong to the framework.
[[maybe_unused]] const bool is_listening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new OpenFilesCheck);
  return true;
}();

}  // namespace
}  // namespace orsin::test
