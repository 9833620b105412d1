// The loader over libraries that only exist in a table: what it asks of the platform, in which
// order, and what it makes of the answers.
#include "modules/library_loader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "base/clock.h"
#include "base/fpu_mode.h"
#include "base/program_paths.h"
#include "modules/error_boxes.h"
#include "modules/library_port.h"
#include "orsincore/startup.h"
#include "tests/platform/fake_libraries.h"
#include "tests/platform/native/fake_clock.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"
#include "tests/threads/gate.h"

namespace orsin {
namespace {

using test::fake_clock;
using test::fake_libraries;
using test::fake_processors;
using test::Lines;
using test::LogCapture;

int modules[300];  // Only their addresses count.

// The first test: nothing was silenced in this process.
TEST(ErrorBoxes, KeepTheHostsModeWhereNothingWasSilenced) {
  fake_libraries().error_mode = 4;

  restore_error_boxes();

  EXPECT_EQ(fake_libraries().error_mode, 4U);
  fake_libraries() = {};
}

class LibraryLoader : public testing::Test {
 protected:
  void SetUp() override {
    forget_fpu_mode();
    fpu_setup(false);
    start_library_loader();
  }
  void TearDown() override {
    stop_library_loader();
    restore_error_boxes();
    fake_libraries() = {};
    fake_processors() = {};
    fake_clock() = {};
    forget_fpu_mode();
  }

  static Lines calls_so_far() {
    Lines calls;
    std::swap(calls, fake_libraries().calls);
    return calls;
  }
};

TEST_F(LibraryLoader, SilencesThreadNoticesAndErrorBoxesAfterALoad) {
  fake_libraries().loadable["codec.dll"] = &modules[0];

  EXPECT_EQ(ov_open_library("codec.dll", 0), &modules[0]);

  EXPECT_EQ(calls_so_far(), (Lines{"load codec.dll", "silence threads", "error mode"}));
}

TEST_F(LibraryLoader, SharesALibraryUntilItsLastClose) {
  fake_libraries().loadable["codec.dll"] = &modules[0];
  EXPECT_EQ(ov_open_library("codec.dll", 0), &modules[0]);
  EXPECT_EQ(ov_open_library("codec.dll", 0), &modules[0]);
  EXPECT_EQ(calls_so_far(), (Lines{"load codec.dll", "silence threads", "error mode"}));

  ov_close_library(&modules[0], false);
  EXPECT_EQ(calls_so_far(), Lines{});
  ov_close_library(&modules[0], true);
  EXPECT_EQ(calls_so_far(), Lines{"unload"});
  ov_close_library(&modules[0], false);
  EXPECT_EQ(calls_so_far(), Lines{});
}

TEST_F(LibraryLoader, TellsNamesApartByCase) {
  fake_libraries().loadable["codec.dll"] = &modules[0];
  fake_libraries().loadable["Codec.dll"] = &modules[0];
  ov_open_library("codec.dll", 0);
  ov_open_library("Codec.dll", 0);
  calls_so_far();

  ov_close_library(&modules[0], false);
  EXPECT_EQ(calls_so_far(), Lines{"unload"});  // Each name has a reference of the system's.
  ov_close_library(&modules[0], false);
  EXPECT_EQ(calls_so_far(), Lines{"unload"});
}

TEST_F(LibraryLoader, AFailedLoadOfAFileIsAWarningWithTheReason) {
  const test::TemporaryDirectory directory;
  const std::string path = directory.write("broken.dll", "not a library");
  const LogCapture log;
  fake_libraries().error = 193;

  EXPECT_EQ(ov_open_library(path.c_str(), 0), nullptr);

  EXPECT_EQ(log.lines(), (Lines{"WARN : Can't open module: '" + path + "'", "     : error 193"}));
}

TEST_F(LibraryLoader, AnAbsentLibraryFailsWithoutAMessage) {
  const LogCapture log(4);

  EXPECT_EQ(ov_open_library("nowhere.dll", 0), nullptr);
  EXPECT_EQ(ov_open_library(nullptr, 0), nullptr);
  EXPECT_EQ(ov_open_library("", 0), nullptr);
  EXPECT_EQ(ov_open_library(std::string(260, 'n').c_str(), 0), nullptr);

  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_EQ(calls_so_far(), (Lines{"load nowhere.dll", "error mode"}));
}

TEST_F(LibraryLoader, ANameOf259BytesStillFits) {
  const std::string name(259, 'n');
  fake_libraries().loadable[name] = &modules[0];

  EXPECT_EQ(ov_open_library(name.c_str(), 0), &modules[0]);
  EXPECT_EQ(ov_open_library(name.c_str(), 0), &modules[0]);

  EXPECT_EQ(calls_so_far().size(), 3U);
}

TEST_F(LibraryLoader, LooksOnTheSearchListFirst) {
  const test::TemporaryDirectory directory;
  directory.write("plug.dll", "");
  std::snprintf(program_paths().search_list, sizeof(program_paths().search_list), "%s;",
                directory.path().c_str());
  const std::string path = directory.path() + "\\plug.dll";
  fake_libraries().loadable[path] = &modules[0];

  EXPECT_EQ(ov_open_library("plug.dll", 0), &modules[0]);

  EXPECT_EQ(calls_so_far().front(), "load " + path);
  program_paths().search_list[0] = '\0';
}

TEST_F(LibraryLoader, FlagOneSearchesTheLibrarysOwnDirectoryDuringTheLoad) {
  const struct {
    const char* name;
    int flags;
    Lines expected;
  } cases[] = {
      {"C:\\plugins\\a.dll",
       1,
       {"directory C:\\plugins\\", "load C:\\plugins\\a.dll", "error mode", "no directory"}},
      {"C:\\a.dll", 3, {"directory C:\\", "load C:\\a.dll", "error mode", "no directory"}},
      {"C:\\plugins\\a.dll", 2, {"load C:\\plugins\\a.dll", "error mode"}},
      {"a.dll", 1, {"load a.dll", "error mode"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);

    EXPECT_EQ(ov_open_library(c.name, c.flags), nullptr);

    EXPECT_EQ(calls_so_far(), c.expected);
  }
}

TEST_F(LibraryLoader, TakesTheOwnDirectoryBackAfterASuccess) {
  fake_libraries().loadable["C:\\p\\a.dll"] = &modules[0];

  ov_open_library("C:\\p\\a.dll", 1);

  EXPECT_EQ(calls_so_far(), (Lines{"directory C:\\p\\", "load C:\\p\\a.dll", "silence threads",
                                   "error mode", "no directory"}));
}

// A search beside the library leaves the current directory out, so the path must not count from it.
TEST_F(LibraryLoader, FlagOneFindsARelativePathToo) {
  const test::TemporaryDirectory directory;
  directory.write("plug/codec.dll", "");
  const std::filesystem::path current = std::filesystem::current_path();
  std::filesystem::current_path(directory.path());
  fake_libraries().loadable["C:\\work\\plug\\codec.dll"] = &modules[0];
  fake_libraries().loadable["plug\\codec.dll"] = &modules[1];

  EXPECT_EQ(ov_open_library("plug\\codec.dll", 1), &modules[0]);
  EXPECT_EQ(calls_so_far()[0], "directory C:\\work\\plug\\");
  ov_close_library(&modules[0], false);
  EXPECT_EQ(ov_open_library("plug\\codec.dll", 0), &modules[1]);

  std::filesystem::current_path(current);
}

TEST_F(LibraryLoader, FlagOneKeepsARelativePathWhoseWholeWouldNotFit) {
  const test::TemporaryDirectory directory;
  directory.write("codec.dll", "");
  const std::filesystem::path current = std::filesystem::current_path();
  std::filesystem::current_path(directory.path());
  fake_libraries().current = std::string(255, 'c');
  fake_libraries().loadable["codec.dll"] = &modules[0];

  EXPECT_EQ(ov_open_library("codec.dll", 1), &modules[0]);

  std::filesystem::current_path(current);
}

TEST_F(LibraryLoader, GivesTheHostItsLibraryDirectoryBack) {
  fake_libraries().directory = L"D:\\hosts";
  fake_libraries().loadable["C:\\p\\a.dll"] = &modules[0];

  ov_open_library("C:\\p\\a.dll", 1);
  EXPECT_EQ(fake_libraries().directory, L"D:\\hosts");

  ov_open_library("C:\\p\\absent.dll", 1);
  EXPECT_EQ(fake_libraries().directory, L"D:\\hosts");
}

TEST_F(LibraryLoader, AddsToTheHostsErrorModeAndGivesItBack) {
  constexpr unsigned kNoFaultBox = 2;
  fake_libraries().error_mode = kNoFaultBox;
  fake_libraries().on_load = [](const std::string&) { fake_libraries().error_mode = 4; };
  fake_libraries().loadable["codec.dll"] = &modules[0];
  const unsigned silent = kNoFaultBox | port::kNoCriticalErrorBox | port::kNoOpenFileBox;

  ov_open_library("codec.dll", 0);
  EXPECT_EQ(fake_libraries().error_mode, silent);
  ov_open_library("absent.dll", 0);
  EXPECT_EQ(fake_libraries().error_mode, silent);

  restore_error_boxes();
  EXPECT_EQ(fake_libraries().error_mode, kNoFaultBox);
}

TEST_F(LibraryLoader, SilencesErrorBoxesBeforeAnyLoadToo) {
  constexpr unsigned kNoFaultBox = 2;
  fake_libraries().error_mode = kNoFaultBox;

  silence_error_boxes();
  EXPECT_EQ(fake_libraries().error_mode,
            kNoFaultBox | port::kNoCriticalErrorBox | port::kNoOpenFileBox);

  restore_error_boxes();
  EXPECT_EQ(fake_libraries().error_mode, kNoFaultBox);
}

TEST_F(LibraryLoader, UndoesAChangeOfTheFloatingPointMode) {
  const LogCapture log(3);
  const std::uint32_t mode = fake_processors().fpu_control;
  fake_libraries().loadable["dsp.dll"] = &modules[0];
  fake_libraries().on_load = [](const std::string&) { fake_processors().fpu_control ^= 0x300; };

  ov_open_library("dsp.dll", 0);

  EXPECT_EQ(fake_processors().fpu_control, mode);
  EXPECT_EQ(log.lines(),
            (Lines{"DEBUG: FPU setup changed un-expected after loading:", "     :     'dsp.dll'"}));
}

TEST_F(LibraryLoader, UndoesAChangeOfTheFloatingPointModeInSilenceBelowDebug) {
  const LogCapture log(2);
  const std::uint32_t mode = fake_processors().fpu_control;
  fake_libraries().loadable["dsp.dll"] = &modules[0];
  fake_libraries().on_load = [](const std::string&) { fake_processors().fpu_control ^= 0x300; };

  ov_open_library("dsp.dll", 0);

  EXPECT_EQ(fake_processors().fpu_control, mode);
  EXPECT_EQ(log.lines(), Lines{});
}

// A clock that a test moves. It shows whole seconds at first, so that seconds later are exact.
class MovedClock {
 public:
  MovedClock() {
    reset_clock();
    fake_clock().stands_still = true;
    fake_clock().still_count = 1;
    start_clock();
    move(1000000000);
  }
  ~MovedClock() {
    fake_clock() = {};
    reset_clock();
    start_clock();
  }
  MovedClock(const MovedClock&) = delete;
  MovedClock& operator=(const MovedClock&) = delete;

  static void move(std::int64_t nanoseconds) { fake_clock().still_count += nanoseconds; }
};

TEST_F(LibraryLoader, WarnsOfALoadOfMoreThanASecond) {
  const struct {
    std::int64_t load_ns;
    Lines expected;
  } cases[] = {{1500000000, {"WARN : Library loader took 1.500 for: slow.dll"}},
               {1000000001, {"WARN : Library loader took 1.000 for: slow.dll"}},
               {1000000000, {}},
               {999999999, {}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.load_ns);
    const LogCapture log;
    const MovedClock clock;
    fake_libraries().loadable["slow.dll"] = &modules[0];
    fake_libraries().on_load = [&c](const std::string&) { MovedClock::move(c.load_ns); };

    void* module = ov_open_library("slow.dll", 0);
    ov_close_library(module, false);

    EXPECT_EQ(log.lines(), c.expected);
  }
}

TEST_F(LibraryLoader, LoadsANameOnceThatTwoThreadsOpen) {
  test::Gate loading;
  test::Gate may_finish;
  fake_libraries().loadable["codec.dll"] = &modules[0];
  fake_libraries().on_load = [&](const std::string&) {
    loading.open();
    may_finish.wait();
  };
  void* first = nullptr;
  void* second = nullptr;

  std::thread one([&] { first = ov_open_library("codec.dll", 0); });
  loading.wait();
  std::thread two([&] { second = ov_open_library("codec.dll", 0); });
  may_finish.open();
  one.join();
  two.join();

  EXPECT_EQ(first, &modules[0]);
  EXPECT_EQ(second, &modules[0]);
  EXPECT_EQ(calls_so_far(), (Lines{"load codec.dll", "silence threads", "error mode"}));
}

TEST_F(LibraryLoader, ALibraryMayOpenAnotherWhileItInitialises) {
  fake_libraries().loadable["outer.dll"] = &modules[0];
  fake_libraries().loadable["inner.dll"] = &modules[1];
  fake_libraries().on_load = [](const std::string& path) {
    if (path == "outer.dll") {
      EXPECT_EQ(ov_open_library("inner.dll", 0), &modules[1]);
    }
  };

  EXPECT_EQ(ov_open_library("outer.dll", 0), &modules[0]);
}

TEST_F(LibraryLoader, HoldsMoreLibrariesThanItsFirstRoom) {
  for (int i = 0; i < 300; ++i) {
    const std::string name = std::to_string(i) + ".dll";
    fake_libraries().loadable[name] = &modules[i];
    ASSERT_EQ(ov_open_library(name.c_str(), 0), &modules[i]);
  }
  calls_so_far();

  EXPECT_EQ(ov_open_library("0.dll", 0), &modules[0]);
  ov_close_library(&modules[0], false);
  ov_close_library(&modules[150], false);
  EXPECT_EQ(calls_so_far(), Lines{"unload"});
  EXPECT_EQ(ov_open_library("299.dll", 0), &modules[299]);
}

TEST_F(LibraryLoader, UnloadsALibraryThatFindsNoRoomInTheTable) {
  stop_library_loader();
  fake_libraries().loadable["codec.dll"] = &modules[0];
  {
    const test::AllocationRefusal refusal(sizeof(lib_entry));
    start_library_loader();
    EXPECT_EQ(ov_open_library("codec.dll", 0), nullptr);
  }
  EXPECT_EQ(calls_so_far(), (Lines{"load codec.dll", "silence threads", "unload", "error mode"}));

  EXPECT_EQ(ov_open_library("codec.dll", 0), &modules[0]);
}

TEST_F(LibraryLoader, KeepsLibrariesLoadedThatWereOpenedTwiceWhenItStops) {
  for (int i = 0; i < 3; ++i) {
    const std::string name = std::to_string(i) + ".dll";
    fake_libraries().loadable[name] = &modules[i];
    ov_open_library(name.c_str(), 0);
  }
  ov_open_library("1.dll", 0);
  std::vector<void*> unloaded;
  fake_libraries().on_unload = [&](void* module) { unloaded.push_back(module); };

  stop_library_loader();

  EXPECT_EQ(unloaded, (std::vector<void*>{&modules[2], &modules[0]}));
}

TEST_F(LibraryLoader, ALibraryMayCloseOthersWhenTheLoaderStops) {
  for (int i = 0; i < 4; ++i) {
    const std::string name = std::to_string(i) + ".dll";
    fake_libraries().loadable[name] = &modules[i];
    ov_open_library(name.c_str(), 0);
  }
  std::vector<void*> unloaded;
  fake_libraries().on_unload = [&](void* module) {
    unloaded.push_back(module);
    if (module == &modules[3]) {
      ov_close_library(&modules[0], false);
      ov_close_library(&modules[2], false);
    }
  };

  stop_library_loader();

  EXPECT_EQ(unloaded, (std::vector<void*>{&modules[3], &modules[0], &modules[2], &modules[1]}));
}

TEST_F(LibraryLoader, UnloadsEachLibraryOnceThoughOneClosesAnotherWhenTheLoaderStops) {
  for (int i = 0; i < 3; ++i) {
    const std::string name = std::to_string(i) + ".dll";
    fake_libraries().loadable[name] = &modules[i];
    ov_open_library(name.c_str(), 0);
  }
  std::vector<void*> unloaded;
  fake_libraries().on_unload = [&](void* module) {
    unloaded.push_back(module);
    if (module == &modules[2]) {
      ov_close_library(&modules[0], false);
    }
  };

  stop_library_loader();

  EXPECT_EQ(unloaded, (std::vector<void*>{&modules[2], &modules[0], &modules[1]}));
}

// ---------------------------------------------------------------------------------------------
// Entries
// ---------------------------------------------------------------------------------------------

std::atomic<int> seen_argc = 0;
char** seen_argv = nullptr;

int good_entry(int argc, char** argv) {
  seen_argc = argc;
  seen_argv = argv;
  return 42;
}

int throwing_entry(int, char**) {
  throw std::runtime_error("entry");
}

int throwing_number_entry(int, char**) {
  throw 7;
}

class RunDll : public LibraryLoader {
 protected:
  void SetUp() override {
    LibraryLoader::SetUp();
    fake_libraries().loadable["tool.dll"] = &modules[0];
    fake_libraries().symbols["good"] = reinterpret_cast<void*>(good_entry);
    fake_libraries().symbols["throwing"] = reinterpret_cast<void*>(throwing_entry);
    fake_libraries().symbols["number"] = reinterpret_cast<void*>(throwing_number_entry);
  }
};

TEST_F(RunDll, CallsTheEntryAndUnloadsTheLibrary) {
  char first[] = "tool";
  char* argv[] = {first, nullptr};

  EXPECT_EQ(ov_rundll("tool", "good", 1, argv), 42);

  EXPECT_EQ(seen_argc, 1);
  EXPECT_EQ(seen_argv, argv);
  EXPECT_EQ(calls_so_far(), (Lines{"load tool.dll", "silence threads", "error mode", "unload"}));
}

TEST_F(RunDll, ResolvesNothingWithoutALibraryOrAName) {
  EXPECT_EQ(ov_resolve_symbol(&modules[0], "good"), reinterpret_cast<void*>(good_entry));
  EXPECT_EQ(ov_resolve_symbol(nullptr, "good"), nullptr);
  EXPECT_EQ(ov_resolve_symbol(&modules[0], nullptr), nullptr);
}

TEST_F(RunDll, SearchesAsTheHostDoes) {
  fake_libraries().loadable["C:\\tools\\tool.dll"] = &modules[0];

  EXPECT_EQ(ov_rundll("C:\\tools\\tool", "good", 0, nullptr), 42);

  EXPECT_EQ(calls_so_far(),
            (Lines{"load C:\\tools\\tool.dll", "silence threads", "error mode", "unload"}));
}

TEST_F(RunDll, KeepsTheEntryOfTheLatestCall) {
  const char* const entry = "good";

  ov_rundll("tool", entry, 0, nullptr);
  EXPECT_EQ(ov_get_main_dll_entry_name(), entry);

  ov_rundll("nowhere", "other", 0, nullptr);
  EXPECT_STREQ(ov_get_main_dll_entry_name(), "other");
}

TEST_F(RunDll, AnEntryThatThrowsGivesMinusTwoAndUnloads) {
  for (const char* entry : {"throwing", "number"}) {
    SCOPED_TRACE(entry);
    calls_so_far();

    EXPECT_EQ(ov_rundll("tool", entry, 0, nullptr), -2);

    EXPECT_EQ(calls_so_far().back(), "unload");
  }
}

TEST_F(RunDll, AMissingEntryIsAnErrorAndUnloads) {
  const LogCapture log;

  EXPECT_EQ(ov_rundll("tool", "absent", 0, nullptr), -1);

  EXPECT_EQ(log.lines(), Lines{"ERROR: RUNDLL: Entry 'absent' not found"});
  EXPECT_EQ(calls_so_far().back(), "unload");
}

TEST_F(RunDll, AMissingLibraryGivesMinusOneWithoutAMessage) {
  const LogCapture log(4);

  EXPECT_EQ(ov_rundll("nowhere", "good", 0, nullptr), -1);
  EXPECT_EQ(ov_rundll(std::string(256, 'n').c_str(), "good", 0, nullptr), -1);
  EXPECT_EQ(ov_rundll(nullptr, "good", 0, nullptr), -1);

  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_EQ(calls_so_far(), (Lines{"load nowhere.dll", "error mode"}));
}

TEST_F(RunDll, LeavesALibraryLoadedThatOthersUse) {
  ov_open_library("tool.dll", 0);
  calls_so_far();

  EXPECT_EQ(ov_rundll("tool", "good", 0, nullptr), 42);

  EXPECT_EQ(calls_so_far(), Lines{});
}

}  // namespace
}  // namespace orsin
