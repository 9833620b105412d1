// Every line that the head of the log can have, through the stand-in's knobs.
#include "startup/system_report.h"

#include <gtest/gtest.h>

#include <string>

#include "base/clock.h"
#include "base/fpu_mode.h"
#include "base/processor_info.h"
#include "base/program_paths.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"
#include "tests/platform/fake_computer.h"
#include "tests/platform/native/fake_clock.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/platform/native/fake_scheduling.h"
#include "tests/support/log_capture.h"
#include "threads/scheduling.h"

namespace orsin {
namespace {

using test::fake_computer;
using test::fake_processors;
using test::fake_scheduling;
using test::Lines;
using test::LogCapture;

constexpr std::uint64_t kMebibyte = 1024 * 1024;

class SystemReport : public testing::Test {
 protected:
  SystemReport() {
    std::snprintf(program_paths().code, kPathBytes, "C:\\App\\");
    msginfo("head");  // Continuations need one.
  }
  ~SystemReport() override {
    fake_computer() = {};
    fake_processors() = {};
    fake_scheduling() = {};
    test::fake_clock() = {};
    program_paths() = {};
    reset_clock();
    forget_processors();
    forget_fpu_mode();
    forget_admin_test();
  }

  // What was written after the head.
  [[nodiscard]] Lines report() const {
    Lines lines = log_.lines();
    lines.erase(lines.begin());
    return lines;
  }

  LogCapture log_;
};

TEST_F(SystemReport, NamesTheMachineInAFixedOrder) {
  fake_processors().cores = {{0x3, 0}, {0xC, 0}};
  fake_processors().leaves[0x80000000].eax = 0x80000004;
  fake_processors().leaves[0x80000002] = {0x20555043, 0x00000058, 0, 0};  // "CPU X"
  query_processors(false);

  write_system_report(16384 * kMebibyte - 1047552, 1);

  EXPECT_EQ(report(),
            (Lines{"     : \\\\STUDIO\\'C:\\App\\'",
                   "     : ---------------------------------------------------",
                   "     : Windows Version 10.0.19045.1", "     : 2 CPU's: CPU X",
                   "     :        : HyperThreading 4 (Enabled)", "     : FPU : Precision 53 bits",
                   "     : Timer frequency : 1000.00 MHz", "     : Timer resolution: 1 ms",
                   "     : Physical memory : 16384 Mb"}));
}

TEST_F(SystemReport, ShowsAQuestionMarkForAComputerThatIsNotNamed) {
  fake_computer().name = "";

  write_system_report(0, 1);

  EXPECT_EQ(report().front(), "     : \\\\?\\'C:\\App\\'");
}

TEST_F(SystemReport, ShowsTheLongestNameThatItHasRoomFor) {
  fake_computer().name = std::string(63, 'n');

  write_system_report(0, 1);

  EXPECT_EQ(report().front(), "     : \\\\" + fake_computer().name + "\\'C:\\App\\'");
}

TEST_F(SystemReport, ShowsAQuestionMarkForANameThatItHasNoRoomFor) {
  fake_computer().name = std::string(64, 'n');

  write_system_report(0, 1);

  EXPECT_EQ(report().front(), "     : \\\\?\\'C:\\App\\'");
}

TEST_F(SystemReport, TakesTheVersionRecordWhereTheProductVersionCannotBeRead) {
  const struct {
    const char* service_pack;
    const char* line;
  } cases[] = {{"Service Pack 1", "     : WIN64 Version 6.01 (Build: 7601 - Service Pack 1)"},
               {"", "     : WIN64 Version 6.01 (Build: 7601)"}};
  fake_computer().tells_product = false;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    const LogCapture log;
    msginfo("head");
    std::snprintf(fake_computer().system.service_pack, sizeof(fake_computer().system.service_pack),
                  "%s", c.service_pack);

    write_system_report(0, 1);

    EXPECT_EQ(log.lines()[3], c.line);
  }
}

TEST_F(SystemReport, TellsTheHyperthreadingState) {
  for (const unsigned int state : {0U, 1U, 2U, 3U, 4U, 5U}) {
    write_hyperthreading(state, static_cast<int>(state) + 8);
  }

  EXPECT_EQ(report(), (Lines{"     :        : HyperThreading 8 (Not capable)",
                             "     :        : HyperThreading 9 (Enabled)",
                             "     :        : HyperThreading 10 (Disabled)",
                             "     :        : HyperThreading 11 (Disabled)",
                             "     :        : HyperThreading 12 (Not detected)"}));
}

TEST_F(SystemReport, CallsATimerWithoutAResolutionAnError) {
  write_system_report(0, 0);

  const Lines lines = report();
  EXPECT_EQ(lines[lines.size() - 2], "ERROR: MP: Failed to set timer resolution");
}

TEST_F(SystemReport, NamesTheOwnerAsFarAsItIsRegistered) {
  fake_computer().registered = {{"RegisteredOrganization", "Studio Süd"},
                                {"RegisteredOwner", "Cutter"}};
  fake_scheduling().is_administrator = true;

  write_owner_report();
  fake_computer().registered.clear();
  forget_admin_test();
  fake_scheduling().is_administrator = false;
  write_owner_report();

  EXPECT_EQ(report(),
            (Lines{"     : Organization    : Studio Süd", "     : Owner           : Cutter",
                   "     : Privilege level : Administrator", "     : Privilege level : User"}));
}

TEST_F(SystemReport, SaysWhatBecameOfTheExecutor) {
  for (const int workers : {8, 2, 1, 0}) {
    write_executor_report(workers);
  }

  EXPECT_EQ(report(), (Lines{"     : SMP Initialize  : 8-way multi-processing",
                             "     : SMP Initialize  : 2-way multi-processing",
                             "     : SMP Initialize  : Single-processing",
                             "     : SMP Initialize  : Failed.."}));
}

TEST_F(SystemReport, BeginsWithTheProgramItsBuildAndTheStart) {
  write_banner("Take", 3, {});

  const Lines lines = report();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], "INFO : ---------------------------------------------------");
  EXPECT_EQ(lines[1].find("     : Take - [Build: "), 0U) << lines[1];
  EXPECT_EQ(lines[1].size(), std::string("     : Take - [Build: Sep 29 2026]").size());
  EXPECT_EQ(lines[2].find("     : Log started(3): "), 0U) << lines[2];
}

TEST_F(SystemReport, TellsDateAndTimeOfTheStart) {
  const std::string head = "     : Log started(2): ";
  const auto before = static_cast<long long>(date());

  write_banner("Take", 2, {});

  const auto after = static_cast<long long>(date());
  const std::string line = report().back();
  ASSERT_EQ(line.find(head), 0U) << line;
  date told(2000, 1, 1, 0, 0, 0);
  ASSERT_NE(told.scan(line.c_str() + head.size(), "%m/%d/%Y %H:%M:%S", nullptr), nullptr) << line;
  EXPECT_GE(static_cast<long long>(told), before) << line;
  EXPECT_LE(static_cast<long long>(told), after) << line;
}

TEST_F(SystemReport, SaysThatALogIsContinued) {
  write_banner(nullptr, 2, {true, 183});

  const Lines lines = report();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1].find("     :  - [Build: "), 0U) << lines[1];
  EXPECT_EQ(lines[2].find("     : Log continued(2): "), 0U) << lines[2];
}

TEST_F(SystemReport, ReportsTheErrorOfTheRestartMutexOfAStartThatIsNone) {
  write_banner("Take", 2, {false, 183});

  EXPECT_EQ(log_.last_line().find("ERROR: Restart Error : '"), 0U) << log_.last_line();
}

TEST(ComputerName, IsCutQuestionMarksWhereItIsNotTold) {
  char name[64] = "x";
  char cut[3] = "x";

  EXPECT_TRUE(ov_computername(name, sizeof(name)));
  EXPECT_STREQ(name, "STUDIO");
  EXPECT_FALSE(ov_computername(cut, sizeof(cut)));
  EXPECT_STREQ(cut, "??");
  fake_computer().name = "";
  EXPECT_FALSE(ov_computername(name, sizeof(name)));
  EXPECT_STREQ(name, "???");
  EXPECT_FALSE(ov_computername(cut, 1));
  EXPECT_STREQ(cut, "");
  EXPECT_FALSE(ov_computername(name, 0));
  EXPECT_FALSE(ov_computername(nullptr, sizeof(name)));
  fake_computer() = {};
}

}  // namespace
}  // namespace orsin
