// Closedown over threads that are in the middle of something: it ends them, and ends itself, every
// time, and leaves no lock behind that another start in the same process would wait for.
// ORSIN_TEST_CLOSEDOWNS says how often each is tried.
#include <cstdlib>
#include <filesystem>

#include "tests/host/child_process.h"
#include "tests/support/kit_path.h"

namespace orsin {
namespace {

constexpr int kClosedownsUsual = 8;

class BusyClosedown : public test::HostTest {
 protected:
  BusyClosedown() {
    const auto plugin = test::to_path(
        test::kit_path("tests/plugins/plugin_plain.dll", ORSIN_TEST_PLUGINS "/plugin_plain.dll"));
    SetEnvironmentVariableA("ORSIN_TEST_PLUGIN", plugin.string().c_str());
  }

  // Over threads that do the work, in a process that then ends; or that starts up again, does the work
  // once and closes down a second time. Not for work that reads directories, as listing or finding a
  // library does: Wine has a lock around that, and ends threads that hold it. Windows ends none in the
  // kernel.
  void expect_that_it_ends_over(const std::string& work) { run_often("busy-" + work); }
  void expect_that_all_goes_on_after(const std::string& work) { run_often("again-" + work); }

 private:
  void run_often(const std::string& command) {
    const char* wanted = std::getenv("ORSIN_TEST_CLOSEDOWNS");
    const int closedowns = wanted != nullptr ? std::atoi(wanted) : kClosedownsUsual;
    for (int i = 0; i < closedowns; ++i) {
      SCOPED_TRACE(command + ", closedown " + std::to_string(i + 1));
      ASSERT_EQ(run(command), 0) << tail(output());
      const std::string text = log();
      ASSERT_NE(text.find("* Closed normally"), std::string::npos) << tail(text);
      ASSERT_TRUE(text.ends_with("---------------------------------------------------\r\n"))
          << tail(text);
    }
  }

  static std::string tail(const std::string& text) {
    constexpr std::size_t kShown = 2000;
    return text.size() > kShown ? text.substr(text.size() - kShown) : text;
  }
};

TEST_F(BusyClosedown, EndsOverThreadsThatLog) {
  expect_that_it_ends_over("log");
}

TEST_F(BusyClosedown, EndsOverThreadsThatListDirectories) {
  expect_that_it_ends_over("list");
}

TEST_F(BusyClosedown, EndsOverThreadsThatOpenLibraries) {
  expect_that_it_ends_over("open");
}

TEST_F(BusyClosedown, EndsOverThreadsThatAllocateFromHeaps) {
  expect_that_it_ends_over("allocate");
}

TEST_F(BusyClosedown, EndsOverThreadsThatTransfer) {
  expect_that_it_ends_over("transfer");
}

TEST_F(BusyClosedown, EndsOverThreadsThatReadInPieces) {
  expect_that_it_ends_over("read");
}

TEST_F(BusyClosedown, EndsOverThreadsThatStartAndStopTheBackgroundWorker) {
  expect_that_it_ends_over("work");
}

TEST_F(BusyClosedown, LeavesALogThatCanBeOpenedAgain) {
  expect_that_all_goes_on_after("log");
}

TEST_F(BusyClosedown, LeavesMemoryToAllocateFromAgain) {
  expect_that_all_goes_on_after("allocate");
}

TEST_F(BusyClosedown, LeavesReadersTheirLock) {
  expect_that_all_goes_on_after("read");
}

TEST_F(BusyClosedown, LeavesABackgroundWorkerToStartAgain) {
  expect_that_all_goes_on_after("work");
}

}  // namespace
}  // namespace orsin
