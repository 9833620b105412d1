// What the first listing finds out for its whole process. Each case is a process of its own, which
// writes what it saw to standard error.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "files/directory_list.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "tests/files/backslash_path.h"
#include "tests/platform/fake_drives.h"
#include "tests/platform/native/fake_enumeration.h"
#include "tests/support/environment_variable.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

[[noreturn]] void say_and_exit(const std::string& text) {
  std::fprintf(stderr, "%s\n", text.c_str());
  std::exit(0);
}

class FirstListing : public testing::Test {
 protected:
  FirstListing() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// Lists twice what is there, after something that is missing if that is asked for.
std::string forms_of_listings(bool has_fast_form, bool misses_first) {
  const test::TemporaryDirectory directory;
  const std::string path = test::below(directory, "");
  test::FakeEnumeration& enumeration = test::fake_enumeration();
  enumeration = {.has_fast_form = has_fast_form, .is_watched = true, .forms = ""};
  if (misses_first) {
    const UniqueList none(flist_findfiles((path + "missing").c_str(), "*", false, 0));
  }
  const UniqueList one(flist_new(path.c_str(), 0));
  const UniqueList two(flist_new(path.c_str(), 0));
  return "forms: " + enumeration.forms;
}

TEST_F(FirstListing, ChoosesTheFastFormWhereItWorks) {
  EXPECT_EXIT(say_and_exit(forms_of_listings(true, false)), testing::ExitedWithCode(0),
              "forms: fast fast \n");
}

TEST_F(FirstListing, ChoosesThePlainFormOnOldSystems) {
  EXPECT_EXIT(say_and_exit(forms_of_listings(false, false)), testing::ExitedWithCode(0),
              "forms: plain plain \n");
}

TEST_F(FirstListing, KeepsThePlainFormWhenItCouldNotBeStarted) {
  EXPECT_EXIT(say_and_exit(forms_of_listings(true, true)), testing::ExitedWithCode(0),
              "forms: fast plain plain plain \n");
}

std::string first_configuration() {
  int size = 0;
  bool flags[3] = {true, true, true};
  rwBufferConfigGet(size, flags[0], flags[1], flags[2]);
  return std::to_string(size) + ' ' + std::to_string(flags[0]) + std::to_string(flags[1]) +
         std::to_string(flags[2]);
}

TEST(FirstStream, HasTheWholeConfiguration) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");

  EXPECT_EXIT(say_and_exit(first_configuration()), testing::ExitedWithCode(0), "^8192 000\n");
}

// Lists a directory, the drives and the directory once more.
std::string loads_of_listings() {
  const test::TemporaryDirectory directory;
  const std::string path = test::below(directory, "");
  const UniqueList one(flist_new(path.c_str(), 0));
  const UniqueList drives(flist_mountp(false));
  const UniqueList two(flist_new(path.c_str(), 0));
  return "loads: " + std::to_string(test::fake_drives().remote_name_loads);
}

TEST_F(FirstListing, LoadsTheNamesOfNetworkDrivesOnce) {
  EXPECT_EXIT(say_and_exit(loads_of_listings()), testing::ExitedWithCode(0), "loads: 1\n");
}

TEST_F(FirstListing, LoadsTheNamesOfNetworkDrivesWhateverItLists) {
  struct Case {
    const char* what;
    dir_list* (*list)(const char* path);
  };
  const Case cases[] = {
      {"a directory", [](const char* path) { return flist_new(path, 0); }},
      {"files", [](const char* path) { return flist_findfiles(path, "*", false, 0); }},
      {"drives", [](const char*) { return flist_mountp(false); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EXIT(
        {
          const test::TemporaryDirectory directory;
          const UniqueList one(c.list(test::below(directory, "").c_str()));
          say_and_exit("loads: " + std::to_string(test::fake_drives().remote_name_loads));
        },
        testing::ExitedWithCode(0), "loads: 1\n");
  }
}

TEST_F(FirstListing, LeavesTheNamesOfNetworkDrivesOutWhereTheEnvironmentSaysSo) {
  const test::EnvironmentVariable variable("OV_NO_UNC", "1");

  EXPECT_EXIT(say_and_exit(loads_of_listings()), testing::ExitedWithCode(0), "loads: 0\n");
}

}  // namespace
}  // namespace orsin
