// Start-up as a process of its own meets it: the test host runs as a child, its log is read after.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "core/win/windows.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::TemporaryDirectory;

constexpr DWORD kDeadlineMs = 20000;

class HostProcess : public testing::Test {
 protected:
  // Runs the host to its end; -1 when it did not start or was still running at the deadline.
  int run(const std::string& command, const std::string& letters = "") {
    SetEnvironmentVariableA("ORSIN_TEST_DATA", directory_.path().c_str());
    std::string line =
        std::string("\"") + ORSIN_TEST_HOST + "\" -x " + command + " " + name() + " " + letters;
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
      return -1;
    }
    DWORD code = static_cast<DWORD>(-1);
    if (WaitForSingleObject(process.hProcess, kDeadlineMs) == WAIT_OBJECT_0) {
      GetExitCodeProcess(process.hProcess, &code);
    } else {
      TerminateProcess(process.hProcess, code);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(code);
  }

  // The application's name: of this test process only, as there is one instance a name.
  static std::string name() { return "HostTest" + std::to_string(GetCurrentProcessId()); }

  // The one log below the data path; empty when there is none.
  [[nodiscard]] std::string log() const {
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(test::to_path(directory_.path()))) {
      if (entry.path().extension() == ".log") {
        return TemporaryDirectory::read(test::to_utf8(entry.path()));
      }
    }
    return {};
  }

 private:
  TemporaryDirectory directory_;
};

TEST_F(HostProcess, ReportsAndClosesNormally) {
  EXPECT_EQ(run("close"), 0);

  EXPECT_NE(log().find("* Closed normally"), std::string::npos) << log();
}

TEST_F(HostProcess, EachLetterDRaisesTheLevelAndLetterPSetsTheWorkers) {
  struct Case {
    const char* letters;
    int level;
    int workers;
  };
  const Case cases[] = {
      {"-P2", 2, 2}, {"-DP2", 3, 2}, {"-dd -P 3", 4, 3}, {"-P2 -xDD", 2, 2}, {"DD -p2", 2, 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.letters);
    EXPECT_EQ(run("level", c.letters), 100 + 10 * c.level + c.workers);
  }
}

TEST_F(HostProcess, AKilledProcessLeavesEveryLineItWrote) {
  EXPECT_EQ(run("killed"), 9);

  const std::string text = log();
  std::size_t position = 0;
  for (int i = 0; i < 2000; ++i) {
    position = text.find("INFO : line " + std::to_string(i) + " before the end", position);
    ASSERT_NE(position, std::string::npos) << "line " << i;
  }
  EXPECT_EQ(text.find("* Closed normally"), std::string::npos);
}

TEST_F(HostProcess, TheExceptionFilterNamesTheFaultInTheLog) {
  EXPECT_EQ(run("filter"), 1);

  EXPECT_NE(log().find("Fatal Error: Access violation, Thread: "), std::string::npos) << log();
}

TEST_F(HostProcess, ARestartedProcessContinuesTheLogOfItsPredecessor) {
  // Not the name itself: that is the instance mutex's, and kernel objects share their names.
  HANDLE done = CreateEventA(nullptr, TRUE, FALSE, (name() + "Done").c_str());
  ASSERT_NE(done, nullptr);

  EXPECT_EQ(run("restart"), 0);
  EXPECT_EQ(WaitForSingleObject(done, kDeadlineMs), WAIT_OBJECT_0);
  CloseHandle(done);

  const std::string text = log();
  const std::size_t started = text.find("Log started(2): ");
  const std::size_t restarting = text.find("ERROR: * Restarting...", started);
  const std::size_t continued = text.find("Log continued(2): ", restarting);
  EXPECT_NE(started, std::string::npos) << text;
  EXPECT_NE(restarting, std::string::npos) << text;
  EXPECT_NE(continued, std::string::npos) << text;
  EXPECT_NE(text.find("* Closed normally", continued), std::string::npos) << text;
}

}  // namespace
}  // namespace orsin
