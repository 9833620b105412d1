// Where the log goes and what becomes of the one before, through the stand-in's knobs.
#include "startup/log_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "base/program_paths.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"
#include "tests/files/backslash_path.h"
#include "tests/platform/native/fake_access.h"
#include "tests/platform/native/fake_startup.h"
#include "tests/support/environment_variable.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::EnvironmentVariable;
using test::fake_access;
using test::fake_startup;
using test::LogCapture;
using test::TemporaryDirectory;

constexpr char kVariable[] = "ORSIN_TEST_DATA";

class LogFile : public testing::Test {
 protected:
  LogFile() { set_module("App\\bin64\\app.exe"); }
  ~LogFile() override {
    msg_close();
    if (fake_startup().log != nullptr) {
      std::fclose(fake_startup().log);
    }
    fake_startup() = {};
    fake_access() = {};
    program_paths() = {};
  }

  void set_module(const char* name) const {
    std::snprintf(program_paths().module, kPathBytes, "%s", below(directory_, name).c_str());
  }

  // Opens the log of "Take" below the directory.
  void open(bool continues_log = false) const {
    const EnvironmentVariable data(kVariable, backslashed(directory_).c_str());
    set_paths_and_open_log("Take", kVariable, continues_log);
  }

  // Finds the paths where no variable is set, and leaves no log file.
  void find_paths() const { set_paths_and_open_log("Take", nullptr, false); }

  [[nodiscard]] std::string log_text(const char* name = "Take.log") const {
    return TemporaryDirectory::read(directory_.path(std::string("Settings/logs/") + name));
  }

  TemporaryDirectory directory_;
};

TEST_F(LogFile, IsOpenedBelowTheDataPathAtInfo) {
  open();
  msginfo("first");

  EXPECT_EQ(file_get_logfile(), below(directory_, "Settings\\logs\\Take.log"));
  EXPECT_EQ(msg_getlevel(), 2);
  EXPECT_EQ(fake_startup().log, msg_get_file());
  EXPECT_NE(log_text().find("INFO : first\n"), std::string::npos) << log_text();
}

TEST_F(LogFile, HasItsDirectoryMadeWhereOnlyTheLastOneIsMissing) {
  std::filesystem::create_directory(directory_.path("Settings"));

  open();

  EXPECT_EQ(file_get_logfile(), below(directory_, "Settings\\logs\\Take.log"));
}

TEST_F(LogFile, RotatesTheOneBefore) {
  directory_.write("Settings/logs/Take.log", "before\n");

  open();

  EXPECT_EQ(log_text("Take.1.log"), "before\n");
  EXPECT_EQ(log_text(), "");
}

TEST_F(LogFile, KeepsTenGenerations) {
  directory_.write("Settings/logs/Take.log", "0");
  for (int i = 1; i <= 10; ++i) {
    directory_.write("Settings/logs/Take." + std::to_string(i) + ".log", std::to_string(i));
  }

  open();

  EXPECT_EQ(log_text("Take.1.log"), "0");
  EXPECT_EQ(log_text("Take.10.log"), "9");
  EXPECT_FALSE(std::filesystem::exists(directory_.path("Settings/logs/Take.11.log")));
}

TEST_F(LogFile, ContinuesTheOneBeforeAfterARestart) {
  directory_.write("Settings/logs/Take.log", "before\n");
  fake_startup().written_looks = 1000;  // It is not rotated, so nobody waits for it.

  open(true);
  msginfo("after");

  EXPECT_EQ(log_text().find("before\n"), 0U);
  EXPECT_NE(log_text().find("INFO : after\n"), std::string::npos) << log_text();
  EXPECT_EQ(fake_startup().looks, 0);
}

TEST_F(LogFile, CopiesTheOneBeforeWhereSomebodyHoldsIt) {
  fake_access().held = directory_.write("Settings/logs/Take.log", "before\n");
  directory_.write("Settings/logs/Take.1.log", "long before\n");

  open();
  msginfo("after");

  EXPECT_EQ(log_text("Take.1.log"), "before\n");
  EXPECT_EQ(log_text("Take.2.log"), "long before\n");
  EXPECT_EQ(log_text().find("before\n"), std::string::npos) << log_text();
  EXPECT_NE(log_text().find("INFO : after\n"), std::string::npos) << log_text();
}

TEST_F(LogFile, IsContinuedWhereTheOneBeforeCanNeitherBeMovedNorCopied) {
  fake_access().held = directory_.write("Settings/logs/Take.log", "before\n");
  fake_startup().refuses_copies = true;

  open();
  msginfo("after");

  EXPECT_EQ(log_text().find("before\n"), 0U) << log_text();
  EXPECT_NE(log_text().find("INFO : after\n"), std::string::npos) << log_text();
}

TEST_F(LogFile, WaitsUntilTheOneBeforeIsReleased) {
  fake_startup().written_looks = 3;
  const auto begin = std::chrono::steady_clock::now();

  open();

  EXPECT_EQ(fake_startup().looks, 4);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
  EXPECT_EQ(msg_getlevel(), 2);
}

TEST_F(LogFile, IsOpenedWhenTheOneBeforeIsNeverReleased) {
  fake_startup().written_looks = 1000;

  open();

  EXPECT_EQ(fake_startup().looks, 50);
  EXPECT_EQ(msg_getlevel(), 2);
}

TEST_F(LogFile, GivesWayToStandardErrorWhenItCannotBeOpened) {
  std::filesystem::create_directories(directory_.path("Settings/logs/Take.log"));

  open();

  EXPECT_STREQ(file_get_logfile(), "");
  EXPECT_EQ(msg_getlevel(), 1);
  EXPECT_EQ(msg_get_file(), stderr);
  EXPECT_EQ(fake_startup().log, nullptr);
}

TEST_F(LogFile, LiesInTheCurrentDirectoryWhereItsOwnCannotBeMade) {
  directory_.write("Settings", "a file");
  const std::filesystem::path current = std::filesystem::current_path();
  std::filesystem::current_path(directory_.path());
  const LogCapture log;

  open();
  std::filesystem::current_path(current);

  const std::string line =
      "ERROR: Error creating directory " + below(directory_, "Settings\\logs") + " : ";
  EXPECT_EQ(log.last_line().find(line), 0U) << log.text();
  EXPECT_GT(log.last_line().size(), line.size());
  EXPECT_STREQ(file_get_logfile(), "Take.log");
  EXPECT_TRUE(std::filesystem::exists(directory_.path("Take.log")));
}

TEST_F(LogFile, NeedsAName) {
  std::snprintf(program_paths().log_file, kPathBytes, "%s", "of an earlier start");

  set_paths_and_open_log(nullptr, nullptr, false);

  EXPECT_STREQ(file_get_logfile(), "");
  EXPECT_EQ(msg_getlevel(), 1);
  EXPECT_EQ(msg_get_file(), stderr);
}

TEST_F(LogFile, LiesInTheCommonFolderOfTheApplicationWithoutAVariable) {
  fake_startup().common_folder = below(directory_, "common");

  find_paths();

  EXPECT_EQ(file_get_data(), below(directory_, "common\\Take"));
  EXPECT_EQ(file_get_code(), below(directory_, "App\\"));
  EXPECT_EQ(file_get_default_settings(), below(directory_, "App\\Settings"));
  EXPECT_EQ(search_list(), below(directory_, "common\\Take\\Settings") + ";" +
                               below(directory_, "App\\Settings") + ";" +
                               below(directory_, "App\\bin64") + ";");
}

TEST_F(LogFile, LiesBesideTheCodeInAMarkedInstallation) {
  fake_startup().common_folder = below(directory_, "common");
  directory_.write("App/Settings/System.reg", "");

  find_paths();

  EXPECT_EQ(file_get_data(), below(directory_, "App\\"));
}

TEST_F(LogFile, TakesNoDirectoryForTheMark) {
  fake_startup().common_folder = below(directory_, "common");
  std::filesystem::create_directories(directory_.path("App/Settings/System.reg"));

  find_paths();

  EXPECT_EQ(file_get_data(), below(directory_, "common\\Take"));
}

TEST_F(LogFile, LiesBesideTheCodeWithoutACommonFolder) {
  find_paths();

  EXPECT_EQ(file_get_data(), below(directory_, "App\\"));
}

}  // namespace
}  // namespace orsin
