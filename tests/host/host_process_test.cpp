// Start-up as a process of its own meets it: the test host runs as a child, its log is read after.
#include <algorithm>
#include <filesystem>

#include "tests/host/child_process.h"
#include "tests/support/kit_path.h"

namespace orsin {
namespace {

using test::ChildProcess;
using test::NamedEvent;
using test::TemporaryDirectory;

using HostProcess = test::HostTest;

TEST_F(HostProcess, ReportsAndClosesNormally) {
  EXPECT_EQ(run("close"), 0);

  EXPECT_NE(log().find("* Closed normally"), std::string::npos) << log();
}

// Standard error is the log to the end of the process.
TEST_F(HostProcess, ClosesEveryHandleThatItOpenedButTheLogs) {
  EXPECT_EQ(run("handles"), 1);
}

TEST_F(HostProcess, WritesItsReportInTheFixedOrder) {
  EXPECT_EQ(run("close"), 0);

  expect_in_order(
      {"---------------------------------------------------", " - [Build: ", "Log started(2): ",
       "\\\\", "---------------------------------------------------", "Windows Version ",
       " CPU's: ", "       : HyperThreading ", "Timer frequency : ", "Timer resolution: 1 ms",
       "Physical memory : ", "Memory setup:", "---------------------------------------------------",
       "Privilege level : ", "SMP Initialize  : ",
       "---------------------------------------------------",
       "*---------------------------------------------------", "* Closed normally",
       "---------------------------------------------------"});
}

TEST_F(HostProcess, EachLetterDRaisesTheLevelAndLetterPSetsTheWorkers) {
  struct Case {
    const char* letters;
    int level;
    int workers;
  };
  const Case cases[] = {{"-P2", 2, 2},      {"-P4", 2, 4},      {"-P 4", 2, 4},   {"-DP2", 3, 2},
                        {"-dd -P 3", 4, 3}, {"-P2 -xDD", 2, 2}, {"DD -p2", 2, 2}, {"-P0x3", 2, 3}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.letters);
    EXPECT_EQ(run("level", c.letters), 100 + 10 * c.level + c.workers);
  }
}

TEST_F(HostProcess, ZeroWorkersMeanOneForEachProcessor) {
  const int usual = run("level");

  EXPECT_EQ(run("level", "-P0"), usual);
  EXPECT_EQ(run("level", "-P -3"), usual);
}

TEST_F(HostProcess, AWordThatOnlyBeginsWithRestartIsNoRestart) {
  EXPECT_EQ(run("close", "-restarts"), 0);

  EXPECT_NE(log().find("Log started(2): "), std::string::npos) << log();
}

TEST_F(HostProcess, AKilledProcessLeavesEveryLineItWrote) {
  NamedEvent ready(name() + "Ready");
  ChildProcess host_process(host("killed"));
  ASSERT_TRUE(ready.wait());

  host_process.kill(9);

  EXPECT_EQ(host_process.wait(), 9);
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

TEST_F(HostProcess, AFaultInAThreadEndsTheProcessWithABlockThatNamesTheThread) {
  const std::string asterisks(56, '*');
  struct Case {
    const char* command;
    const char* place;
    const char* line;
  };
  const Case cases[] = {
      {"access", "INFO : THREAD(Reader): Exception 0xc0000005 at test_host.exe+0x",
       "THREAD(Reader): Fatal Error (VM: "},
      {"division", "INFO : THREAD(Divider): Exception 0xc0000094 at test_host.exe+0x",
       "THREAD(Divider): Fatal Error, Exception: 0xc0000094 (VM: "}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.command);
    EXPECT_EQ(run(c.command), -1);

    const std::string text = log();
    const std::size_t place = text.find(c.place);
    const std::size_t head = text.find("ERROR: " + asterisks);
    EXPECT_NE(place, std::string::npos) << text;
    EXPECT_LT(place, head) << text;
    const std::size_t line = text.find(c.line, head);
    EXPECT_NE(head, std::string::npos) << text;
    EXPECT_NE(line, std::string::npos) << text;
    EXPECT_NE(text.find(asterisks, line), std::string::npos) << text;
    EXPECT_EQ(text.find("* Closed normally"), std::string::npos) << text;
  }
}

TEST_F(HostProcess, ClosesDownInTheFixedOrder) {
  const auto plugin = test::to_path(
      test::kit_path("tests/plugins/plugin_logging.dll", ORSIN_TEST_PLUGINS "/plugin_logging.dll"));
  SetEnvironmentVariableA("ORSIN_TEST_PLUGIN", plugin.string().c_str());

  EXPECT_EQ(run("leave"), 0);

  const char* const lines[] = {
      "plug-in loaded",       "*---------------------------------------------------",
      "work 60 on OV_Worker", "* Closed normally",
      "plug-in unloaded",     "---------------------------------------------------"};
  const std::string text = log();
  std::size_t position = 0;
  for (const char* line : lines) {
    // The worker may be done before closedown begins.
    const bool may_be_early = std::string(line).starts_with("work");
    const std::size_t found = text.find(line, may_be_early ? 0 : position);
    ASSERT_NE(found, std::string::npos) << line << " is missing or out of order in\n" << text;
    position = std::max(position, found + 1);
  }
  EXPECT_EQ(text.find("WARN"), std::string::npos) << text;
}

TEST_F(HostProcess, KeepsTenOlderLogsAndDropsTheEleventh) {
  for (int i = 0; i < 12; ++i) {
    ASSERT_EQ(run("close", "-P" + std::to_string(i + 1)), 0);
  }

  int kept = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(test::to_path(directory().path("Settings\\logs")))) {
    EXPECT_EQ(entry.path().extension(), ".log");
    ++kept;
  }
  EXPECT_EQ(kept, 11);
  EXPECT_NE(log().find("12-way multi-processing"), std::string::npos) << log();
  const std::string oldest =
      TemporaryDirectory::read(directory().path("Settings\\logs\\" + name() + ".10.log"));
  EXPECT_NE(oldest.find("2-way multi-processing"), std::string::npos) << oldest;
}

TEST_F(HostProcess, TheHostHasItsErrorModeBackAfterClosedown) {
  EXPECT_EQ(run("boxes"), SEM_NOGPFAULTERRORBOX);

  EXPECT_NE(log().find("boxes are off"), std::string::npos) << log();
}

TEST_F(HostProcess, AChildThatOutlivesItsHostDoesNotHoldTheLog) {
  NamedEvent printed(name() + "Printed");
  NamedEvent leave(name() + "Leave");
  EXPECT_EQ(run("outlived"), 0);
  ASSERT_TRUE(printed.wait());
  const std::string before = log();
  const bool is_free =
      DeleteFileW(test::to_path(directory().path("Settings\\logs\\" + name() + ".log")).c_str());

  leave.set();

  EXPECT_NE(before.find("child started 1 exited 0"), std::string::npos) << before;
  EXPECT_TRUE(is_free);
}

TEST_F(HostProcess, AChildThatIsWaitedForPrintsIntoTheLog) {
  NamedEvent leave(name() + "Leave");
  leave.set();

  EXPECT_EQ(run("tool"), 0);

  EXPECT_NE(log().find("printed by the child"), std::string::npos) << log();
  EXPECT_NE(log().find("child started 1 exited 1"), std::string::npos) << log();
}

TEST_F(HostProcess, ALogThatAViewerHoldsIsKeptAsNumberOne) {
  EXPECT_EQ(run("close", "-P3"), 0);
  const std::string before = log();
  const std::string path = directory().path("Settings\\logs\\" + name() + ".log");
  const HANDLE viewer =
      CreateFileW(test::to_path(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(viewer, INVALID_HANDLE_VALUE);

  EXPECT_EQ(run("close", "-P4"), 0);
  CloseHandle(viewer);

  EXPECT_NE(log().find("4-way multi-processing"), std::string::npos) << log();
  EXPECT_EQ(TemporaryDirectory::read(directory().path("Settings\\logs\\" + name() + ".1.log")),
            before);
}

TEST_F(HostProcess, ALogThatCannotBeOpenedIsWrittenToStandardError) {
  std::filesystem::create_directories(
      test::to_path(directory().path("Settings\\logs\\" + name() + ".log")));

  EXPECT_EQ(run("filter"), 1);

  const std::string text = output();
  EXPECT_NE(text.find("Fatal Error: Access violation, Thread: Unknown"), std::string::npos) << text;
  EXPECT_EQ(text.find("Log started"), std::string::npos) << "it is at warnings\n" << text;
}

TEST_F(HostProcess, AFastStartLogsWarningsToStandardErrorAndMakesNoFile) {
  EXPECT_EQ(run("fast"), 0);

  const std::string text = output();
  EXPECT_NE(text.find("WARN : started fast with 4096 bytes in a heap block"), std::string::npos)
      << text;
  EXPECT_EQ(text.find("not at this level"), std::string::npos);
  EXPECT_EQ(log(), "");
}

TEST_F(HostProcess, WithoutANameTheLogGoesToStandardErrorAtWarnings) {
  const std::string command = std::string("\"") + test::host_program() + "\" -x level - -P2";
  ChildProcess first(command, directory().path("output"));
  ChildProcess second(command, directory().path("output"));

  EXPECT_EQ(first.wait(), 100 + 10 * 1 + 2);
  EXPECT_EQ(second.wait(), 100 + 10 * 1 + 2) << "there is no single instance without a name";
  EXPECT_FALSE(std::filesystem::exists(test::to_path(directory().path("Settings"))));
}

}  // namespace
}  // namespace orsin
