// Closedown over threads that are in the middle of something: it ends them, and ends itself, every
// time. ORSIN_TEST_CLOSEDOWNS says how often each is tried.
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

  void expect_that_it_ends_over(const std::string& work) {
    const char* wanted = std::getenv("ORSIN_TEST_CLOSEDOWNS");
    const int closedowns = wanted != nullptr ? std::atoi(wanted) : kClosedownsUsual;
    for (int i = 0; i < closedowns; ++i) {
      SCOPED_TRACE(work + ", closedown " + std::to_string(i + 1));
      ASSERT_EQ(run("busy-" + work), 0) << tail(output());
      const std::string text = log();
      ASSERT_NE(text.find("* Closed normally"), std::string::npos) << tail(text);
      ASSERT_TRUE(text.ends_with("---------------------------------------------------\r\n"))
          << tail(text);
    }
  }

 private:
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

}  // namespace
}  // namespace orsin
