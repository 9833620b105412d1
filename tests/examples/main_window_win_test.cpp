// The host's main window beside a main thread that is busy.
#include "examples/host/main_window.h"

#include <gtest/gtest.h>

#include <string>

#include "base/win/windows.h"
#include "threads/thread_table.h"

namespace host {
namespace {

class MainWindowTest : public testing::Test {
 protected:
  void SetUp() override { orsin::start_thread_table(); }
  void TearDown() override { orsin::stop_thread_table(); }

  const std::string class_name_ = "OrsinTest" + std::to_string(GetCurrentProcessId()) + "KORVANE";

  [[nodiscard]] HWND find() const { return FindWindowA(class_name_.c_str(), nullptr); }
};

TEST_F(MainWindowTest, AnswersWhileItsMakerLooksAtNoMessages) {
  const MainWindow window(class_name_);
  ASSERT_TRUE(window.is_open());
  HWND found = find();
  ASSERT_NE(found, nullptr);

  DWORD_PTR answer = 1;
  EXPECT_NE(GetWindowThreadProcessId(found, nullptr), GetCurrentThreadId());
  EXPECT_NE(SendMessageTimeoutW(found, WM_NULL, 0, 0, SMTO_BLOCK, 20000, &answer), 0);

  EXPECT_EQ(answer, 0U);
}

TEST_F(MainWindowTest, IsGoneWithItsMaker) {
  for (int round = 0; round < 3; ++round) {
    { const MainWindow window(class_name_); }

    EXPECT_EQ(find(), nullptr);
  }
}

}  // namespace
}  // namespace host
