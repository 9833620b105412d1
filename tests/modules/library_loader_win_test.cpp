// The loader with real libraries.
#include <gtest/gtest.h>

#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "base/clock.h"
#include "base/fpu_mode.h"
#include "base/win/windows.h"
#include "modules/library_loader.h"
#include "orsincore/startup.h"
#include "tests/support/kit_path.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"
#include "tests/threads/gate.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

// The path of a test plug-in, without ".dll".
std::string plugin(const char* name) {
  return test::kit_path("tests/plugins", ORSIN_TEST_PLUGINS) + "\\plugin_" + name;
}

int count_of(const char* name) {
  char text[16] = "0";
  GetEnvironmentVariableA(name, text, sizeof(text));
  return std::atoi(text);
}

class RealLibraries : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name :
         {"ORSIN_PLUGIN_LOADED", "ORSIN_PLUGIN_UNLOADED", "ORSIN_PLUGIN_ERROR_DESTROYED"}) {
      SetEnvironmentVariableA(name, nullptr);
    }
    start_clock();
    forget_fpu_mode();
    fpu_setup(false);
    start_library_loader();
  }
  void TearDown() override {
    stop_library_loader();
    forget_fpu_mode();
  }

  static bool is_loaded(const std::string& path) {
    return GetModuleHandleA((path + ".dll").c_str()) != nullptr;
  }
};

TEST_F(RealLibraries, OpenedTwiceIsUnloadedAfterTwoCloses) {
  const std::string path = plugin("plain");

  void* module = ov_open_library((path + ".dll").c_str(), 0);
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(ov_open_library((path + ".dll").c_str(), 0), module);
  EXPECT_EQ(count_of("ORSIN_PLUGIN_LOADED"), 1);

  ov_close_library(module, false);
  EXPECT_TRUE(is_loaded(path));
  ov_close_library(module, false);
  EXPECT_FALSE(is_loaded(path));
  EXPECT_EQ(count_of("ORSIN_PLUGIN_UNLOADED"), 1);
}

TEST_F(RealLibraries, ResolvesWhatTheLibraryExports) {
  void* module = ov_open_library((plugin("plain") + ".dll").c_str(), 0);
  ASSERT_NE(module, nullptr);

  void* symbol = ov_resolve_symbol(module, "plugin_add");
  ASSERT_NE(symbol, nullptr);
  EXPECT_EQ(reinterpret_cast<int (*)(int, int)>(symbol)(40, 2), 42);
  EXPECT_EQ(ov_resolve_symbol(module, "plugin_subtract"), nullptr);
  EXPECT_EQ(ov_resolve_symbol(nullptr, "plugin_add"), nullptr);
  EXPECT_EQ(ov_resolve_symbol(module, nullptr), nullptr);
  ov_close_library(module, false);
}

TEST_F(RealLibraries, HearsNothingOfThreads) {
  void* module = ov_open_library((plugin("bare") + ".dll").c_str(), 0);
  ASSERT_NE(module, nullptr);

  std::thread([] {}).join();

  void* notices = ov_resolve_symbol(module, "plugin_thread_notices");
  EXPECT_EQ(reinterpret_cast<int (*)()>(notices)(), 0);
  ov_close_library(module, false);
}

TEST_F(RealLibraries, IsLoadedOnceByThreadsThatOpenItTogether) {
  const std::string name = plugin("plain") + ".dll";
  test::Gate gate;
  void* modules[4] = {};
  std::thread threads[4];
  for (int t = 0; t < 4; ++t) {
    threads[t] = std::thread([&, t] {
      gate.wait();
      modules[t] = ov_open_library(name.c_str(), 0);
    });
  }
  gate.open();
  for (std::thread& thread : threads) {
    thread.join();
  }

  ASSERT_NE(modules[0], nullptr);
  for (void* module : modules) {
    EXPECT_EQ(module, modules[0]);
    ov_close_library(module, false);
  }
  EXPECT_EQ(count_of("ORSIN_PLUGIN_LOADED"), 1);
  EXPECT_EQ(count_of("ORSIN_PLUGIN_UNLOADED"), 1);
}

TEST_F(RealLibraries, FindsADependencyBesideItWithFlagOneOnly) {
  const std::string name = plugin("dependent") + ".dll";
  const LogCapture log;

  EXPECT_EQ(ov_open_library(name.c_str(), 0), nullptr);
  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], "WARN : Can't open module: '" + name + "'");
  EXPECT_TRUE(lines[1].starts_with("     : ") && lines[1].size() > 7) << lines[1];

  void* module = ov_open_library(name.c_str(), 1);
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(reinterpret_cast<int (*)()>(ov_resolve_symbol(module, "plugin_answer"))(), 42);
  wchar_t directory[MAX_PATH] = L"?";
  GetDllDirectoryW(MAX_PATH, directory);
  EXPECT_EQ(std::wstring(directory), L"");  // Taken back.
  ov_close_library(module, false);
  EXPECT_FALSE(is_loaded(plugin("dependency")));
}

TEST_F(RealLibraries, FindsARelativePathWithFlagOneAsWithout) {
  const std::filesystem::path current = std::filesystem::current_path();
  std::filesystem::current_path(
      test::to_path(test::kit_path("tests/plugins", ORSIN_TEST_PLUGINS)).parent_path());
  const std::string name = "plugins\\plugin_dependent.dll";

  void* module = ov_open_library(name.c_str(), 1);

  std::filesystem::current_path(current);
  EXPECT_NE(module, nullptr);
  ov_close_library(module, false);
}

TEST_F(RealLibraries, GivesTheHostItsLibraryDirectoryBack) {
  SetDllDirectoryW(L"C:\\windows\\hosts own");
  const std::string name = plugin("dependent") + ".dll";

  void* module = ov_open_library(name.c_str(), 1);

  wchar_t directory[MAX_PATH] = L"?";
  GetDllDirectoryW(MAX_PATH, directory);
  SetDllDirectoryW(nullptr);
  EXPECT_NE(module, nullptr);
  EXPECT_EQ(std::wstring(directory), L"C:\\windows\\hosts own");
  ov_close_library(module, false);
}

TEST_F(RealLibraries, PutsTheFloatingPointModeAndTheErrorBoxesBack) {
  const LogCapture log(3);
  const UINT hosts_mode = GetErrorMode();
  SetErrorMode(SEM_NOGPFAULTERRORBOX);
  const std::string name = plugin("fpu_changing") + ".dll";
  const unsigned int mode = _controlfp(0, 0);

  void* module = ov_open_library(name.c_str(), 0);

  ASSERT_NE(module, nullptr);
  EXPECT_EQ(_controlfp(0, 0), mode);
  EXPECT_EQ(GetErrorMode(), static_cast<UINT>(SEM_NOGPFAULTERRORBOX | SEM_FAILCRITICALERRORS |
                                              SEM_NOOPENFILEERRORBOX));
  SetErrorMode(hosts_mode);
  EXPECT_EQ(log.lines(), (Lines{"DEBUG: FPU setup changed un-expected after loading:",
                                "     :     '" + name + "'"}));
  ov_close_library(module, false);
}

TEST_F(RealLibraries, ASlowLoadIsAWarning) {
  const LogCapture log;
  const std::string name = plugin("slow") + ".dll";

  void* module = ov_open_library(name.c_str(), 0);

  ASSERT_NE(module, nullptr);
  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 1U);
  double seconds = 0.0;
  ASSERT_EQ(std::sscanf(lines[0].c_str(), "WARN : Library loader took %lf for:", &seconds), 1);
  EXPECT_GE(seconds, 1.499);
  EXPECT_TRUE(lines[0].ends_with(" for: " + name)) << lines[0];
  ov_close_library(module, false);
}

TEST_F(RealLibraries, AMissingOneIsNullWithoutAMessage) {
  const LogCapture log(4);

  EXPECT_EQ(ov_open_library((plugin("missing") + ".dll").c_str(), 1), nullptr);
  EXPECT_EQ(ov_open_library("plugin_missing.dll", 0), nullptr);

  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(RealLibraries, AFileThatIsNoLibraryIsAWarning) {
  const test::TemporaryDirectory directory;
  const std::string name = directory.write("Дубль.dll", "not a library");
  const LogCapture log;

  EXPECT_EQ(ov_open_library(name.c_str(), 0), nullptr);

  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], "WARN : Can't open module: '" + name + "'");
}

TEST_F(RealLibraries, OpensNamesOutsideAscii) {
  const test::TemporaryDirectory directory;
  const std::string name = directory.path("Эффект é.dll");
  std::filesystem::copy_file(test::to_path(plugin("plain") + ".dll"), test::to_path(name));

  void* module = ov_open_library(name.c_str(), 1);

  EXPECT_NE(module, nullptr);
  ov_close_library(module, false);
}

TEST_F(RealLibraries, KeepsLibrariesLoadedThatWereOpenedTwiceWhenTheLoaderStops) {
  const std::string path = plugin("plain");
  void* module = ov_open_library((path + ".dll").c_str(), 0);
  ov_open_library((path + ".dll").c_str(), 0);
  void* other = ov_open_library((plugin("throwing") + ".dll").c_str(), 0);
  ASSERT_NE(other, nullptr);

  stop_library_loader();

  EXPECT_TRUE(is_loaded(path));
  EXPECT_FALSE(is_loaded(plugin("throwing")));
  FreeLibrary(static_cast<HMODULE>(module));
}

TEST_F(RealLibraries, RundllCallsTheEntryWithItsArguments) {
  char program[] = "plugin_main";
  char argument[] = "two words";
  char* argv[] = {program, argument, nullptr};
  const std::string path = plugin("plain");

  EXPECT_EQ(ov_rundll(path.c_str(), "plugin_main", 2, argv), 2);

  EXPECT_FALSE(is_loaded(path));
}

TEST_F(RealLibraries, RundllOfAnEntryThatThrowsGivesMinusTwoAndUnloads) {
  const std::string path = plugin("throwing");

  EXPECT_EQ(ov_rundll(path.c_str(), "plugin_main", 0, nullptr), -2);

  EXPECT_FALSE(is_loaded(path));
  EXPECT_EQ(count_of("ORSIN_PLUGIN_ERROR_DESTROYED"), 1);  // While its code was still there.
}

TEST_F(RealLibraries, RundllOfAnEntryThatFaultsGivesMinusTwoAndUnloads) {
  for (const char* name : {"faulting", "faulting_hard"}) {
    SCOPED_TRACE(name);
    const std::string path = plugin(name);

    EXPECT_EQ(ov_rundll(path.c_str(), "plugin_main", 0, nullptr), -2);

    EXPECT_FALSE(is_loaded(path));
  }
}

TEST_F(RealLibraries, RundllOfAnEntryThatSoftwareRaisesACodeInGivesMinusTwoAndUnloads) {
  const struct {
    const char* entry;
    const char* code;
  } cases[] = {{"plugin_main", "0xE06D7363"},  // What code of another compiler throws.
               {"plugin_main", "0xE0000001"},   {"plugin_main", "0x00000001"},
               {"plugin_main", "0xC0000005"},   {"plugin_main", "0x80000003"},
               {"plugin_main", "0x80000001"},   {"plugin_break", "0"},
               {"plugin_touch_guard_page", "0"}};
  const std::string path = plugin("raising");
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.entry) + " " + c.code);
    std::string code = c.code;
    char* argv[] = {code.data(), nullptr};

    EXPECT_EQ(ov_rundll(path.c_str(), c.entry, 1, argv), -2);

    EXPECT_FALSE(is_loaded(path));
  }
}

TEST_F(RealLibraries, RundllOfAMissingEntryIsAnErrorAndUnloads) {
  const LogCapture log;
  const std::string path = plugin("plain");

  EXPECT_EQ(ov_rundll(path.c_str(), "absent", 0, nullptr), -1);

  EXPECT_EQ(log.lines(), Lines{"ERROR: RUNDLL: Entry 'absent' not found"});
  EXPECT_FALSE(is_loaded(path));
}

}  // namespace
}  // namespace orsin
