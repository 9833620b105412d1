#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/path_buffer.h"
#include "files/search_list.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/program_paths_standin.h"
#include "tests/support/environment_variable.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::backslashed;
using test::below;
using test::EnvironmentVariable;

std::vector<std::string> entries_of(const char* list) {
  std::vector<std::string> entries;
  SearchListWalker walker(list);
  PathBuffer entry;
  while (walker.next(entry)) {
    entries.emplace_back(entry.c_str());
  }
  return entries;
}

using Entries = std::vector<std::string>;

TEST(SearchList, EndsEntriesAtSemicolons) {
  EXPECT_EQ(entries_of(""), Entries{});
  EXPECT_EQ(entries_of(";;"), Entries{});
  EXPECT_EQ(entries_of("a;b;"), (Entries{"a", "b"}));
  EXPECT_EQ(entries_of("a;;b"), (Entries{"a", "b"}));
}

TEST(SearchList, ReplacesVariables) {
  const EnvironmentVariable one("ORSIN_TEST_ONE", "first");
  const EnvironmentVariable two("ORSIN_TEST_TWO", "C:\\second");

  EXPECT_EQ(entries_of("$ORSIN_TEST_ONE$"), (Entries{"first"}));
  EXPECT_EQ(entries_of("a\\$ORSIN_TEST_ONE$\\b;c"), (Entries{"a\\first\\b", "c"}));
  EXPECT_EQ(entries_of("$ORSIN_TEST_TWO$$ORSIN_TEST_ONE$"), (Entries{"C:\\secondfirst"}));
  EXPECT_EQ(entries_of("$ORSIN_TEST_ONE;b"), (Entries{"first", "b"}));
  EXPECT_EQ(entries_of("a$ORSIN_TEST_ONE"), (Entries{"afirst"}));
}

TEST(SearchList, WritesADebugLineForAMissingVariable) {
  const test::LogCapture log(3);

  EXPECT_EQ(entries_of("a$ORSIN_TEST_MISSING$b"), (Entries{"ab"}));
  EXPECT_EQ(entries_of("$ORSIN_TEST_MISSING$;c"), (Entries{"c"}));

  const test::Lines lines = log.lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "DEBUG: Environment variable 'ORSIN_TEST_MISSING' not found");
}

TEST(SearchList, CutsALongEntryAndALongValue) {
  const std::string text(300, 'x');
  const EnvironmentVariable variable("ORSIN_TEST_LONG", std::string(600, 'y').c_str());

  EXPECT_EQ(entries_of((text + ";b").c_str()), (Entries{std::string(259, 'x'), "b"}));
  EXPECT_EQ(entries_of("$ORSIN_TEST_LONG$;b"), (Entries{std::string(259, 'y'), "b"}));
  EXPECT_EQ(entries_of("a\\$ORSIN_TEST_LONG$;b"), (Entries{"a\\" + std::string(257, 'y'), "b"}));
}

TEST(FileFind, TakesAFileAsNamed) {
  const test::TemporaryDirectory directory;
  directory.write("a.cfg", "x");
  char out[kPathBytes] = {};
  const std::string path = below(directory, "a.cfg");

  EXPECT_EQ(file_find(path.c_str(), out), 1);
  EXPECT_EQ(out, path);
  EXPECT_EQ(file_find(path.c_str(), nullptr), 1);
  EXPECT_EQ(file_find(out, out), 1);
  EXPECT_EQ(out, path);
}

TEST(FileFind, WalksTheSearchListInOrder) {
  const test::TemporaryDirectory directory;
  directory.write("first/a.cfg", "1");
  directory.write("second/a.cfg", "2");
  directory.write("second/b.cfg", "2");
  const test::ProgramPaths paths;
  paths.set_search_list(below(directory, "missing") + ";" + below(directory, "first") + "\\;" +
                        below(directory, "second") + ";");
  char out[kPathBytes] = {};

  EXPECT_EQ(file_find("a.cfg", out), 1);
  EXPECT_EQ(out, below(directory, "first\\a.cfg"));
  EXPECT_EQ(file_find("b.cfg", out), 1);
  EXPECT_EQ(out, below(directory, "second\\b.cfg"));
  EXPECT_EQ(file_find("c.cfg", out), 0);
  EXPECT_EQ(file_find("b.cfg", nullptr), 1);
}

TEST(FileFind, WritesNothingBehindThePath) {
  const test::TemporaryDirectory directory;
  directory.write("a.cfg", "x");
  const test::ProgramPaths paths;
  paths.set_search_list(backslashed(directory) + ";");
  const std::string path = below(directory, "a.cfg");

  for (const std::string& name : {path, std::string("a.cfg")}) {
    SCOPED_TRACE(name);
    std::string out(kPathBytes, 'x');
    EXPECT_EQ(file_find(name.c_str(), out.data()), 1);
    EXPECT_EQ(out.substr(0, path.size() + 2), path + '\0' + 'x');
  }
}

TEST(FileFind, PassesOverADirectoryWhoseFileWouldHaveTooLongAPath) {
  const test::TemporaryDirectory directory;
  directory.write("second/a.cfg", "2");
  const test::ProgramPaths paths;
  char out[kPathBytes] = {};

  for (const std::size_t length : {255U, 256U, 259U}) {
    SCOPED_TRACE(length);
    const std::string deep = "C:\\" + std::string(length - 3, 'd');
    paths.set_search_list(deep + ";" + below(directory, "second"));
    EXPECT_EQ(file_find("a.cfg", out), 1);
    EXPECT_EQ(out, below(directory, "second\\a.cfg"));
  }
}

TEST(FileFind, FindsNothingWithAnEmptyList) {
  const test::ProgramPaths paths;
  char out[kPathBytes];

  EXPECT_EQ(file_find("orsin-no-such-file", out), 0);
}

TEST(FileFind, SkipsADirectoryOfTheName) {
  const test::TemporaryDirectory directory;
  directory.write("first/a.cfg/inside", "1");
  directory.write("second/a.cfg", "2");
  const test::ProgramPaths paths;
  paths.set_search_list(below(directory, "first") + ";" + below(directory, "second") + ";");
  char out[kPathBytes] = {};

  EXPECT_EQ(file_find("a.cfg", out), 1);
  EXPECT_EQ(out, below(directory, "second\\a.cfg"));
}

TEST(FileFind, RefusesNoName) {
  const test::LogCapture log;
  char out[kPathBytes];

  EXPECT_EQ(file_find("", out), 0);
  EXPECT_EQ(log.lines(), test::Lines{"ERROR: Can't search for NULL file..."});
  EXPECT_EQ(file_find(nullptr, out), 0);
}

TEST(FileSearch, LooksDepthFirstInTheOrderOfNames) {
  const test::TemporaryDirectory directory;
  directory.write("tree/b/a.txt", "b");
  directory.write("tree/a/deep/a.txt", "deep");
  char out[kPathBytes] = {};

  EXPECT_EQ(file_search(below(directory, "tree").c_str(), "a.txt", out, sizeof(out)), 1);

  EXPECT_EQ(out, below(directory, "tree\\a\\deep\\a.txt"));
}

TEST(FileSearch, PrefersTheDirectoryItself) {
  const test::TemporaryDirectory directory;
  directory.write("tree/a.txt", "top");
  directory.write("tree/a/a.txt", "below");
  char out[kPathBytes] = {};

  EXPECT_EQ(file_search(below(directory, "tree").c_str(), "C:\\elsewhere\\a.txt", out, sizeof(out)),
            1);

  EXPECT_EQ(out, below(directory, "tree\\a.txt"));
}

TEST(FileSearch, FindsNothingInNothing) {
  const test::TemporaryDirectory directory;
  directory.write("tree/a.txt", "x");
  char out[kPathBytes] = {};

  EXPECT_EQ(file_search(below(directory, "tree").c_str(), "b.txt", out, sizeof(out)), 0);
  EXPECT_EQ(file_search(below(directory, "missing").c_str(), "a.txt", out, sizeof(out)), 0);

  // What stands in a buffer without a size is not an answer.
  std::snprintf(out, sizeof(out), "%s", below(directory, "tree\\a.txt").c_str());
  EXPECT_EQ(file_search(below(directory, "tree").c_str(), "a.txt", out, 0), 0);
}

TEST(FileSearch, StaysInsideASmallBuffer) {
  const test::TemporaryDirectory directory;
  directory.write("tree/a.txt", "x");
  char out[8] = "xxxxxxx";

  EXPECT_EQ(file_search(below(directory, "tree").c_str(), "a.txt", out, 4), 0);

  EXPECT_EQ(std::strlen(out), 3U);
  EXPECT_EQ(out[4], 'x');
}

}  // namespace
}  // namespace orsin
