#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "base/path_buffer.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/current_directory.h"
#include "tests/files/program_paths_standin.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::backslashed;
using test::below;

bool is_directory(const std::string& path) {
  return file_is_directory(path.c_str()) != 0;
}

TEST(DirectoryCreation, MakesOneDirectory) {
  const test::TemporaryDirectory directory;

  EXPECT_EQ(file_create_directory(below(directory, "a").c_str(), false), 0);
  EXPECT_EQ(file_create_directory(below(directory, "b").c_str(), true), 0);

  EXPECT_TRUE(is_directory(below(directory, "a")));
  EXPECT_TRUE(is_directory(below(directory, "b")));
}

TEST(DirectoryCreation, MakesMissingParentsWhenAllowed) {
  const test::TemporaryDirectory directory;

  EXPECT_EQ(file_create_directory(below(directory, "a\\b\\c").c_str(), false), -1);
  EXPECT_FALSE(is_directory(below(directory, "a")));

  EXPECT_EQ(file_create_directory(below(directory, "a\\b\\c").c_str(), true), 1);
  EXPECT_TRUE(is_directory(below(directory, "a\\b\\c")));
}

TEST(DirectoryCreation, RefusesAnExistingDirectory) {
  const test::TemporaryDirectory directory;

  EXPECT_EQ(file_create_directory(backslashed(directory).c_str(), false), -1);
  EXPECT_EQ(file_create_directory(backslashed(directory).c_str(), true), -1);
}

TEST(DirectoryCreation, RefusesAFileInTheWay) {
  const test::TemporaryDirectory directory;
  directory.write("a", "file");

  EXPECT_EQ(file_create_directory(below(directory, "a").c_str(), true), -1);
  EXPECT_EQ(file_create_directory(below(directory, "a\\b").c_str(), true), -1);

  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("a")), "file");
}

TEST(DirectoryCreation, RefusesAPathWithoutAParentToMake) {
  EXPECT_EQ(file_create_directory("", true), -1);
  EXPECT_EQ(file_create_directory("\\", true), -1);
}

TEST(DirectoryCreation, MakesNothingForAPathThatIsTooLong) {
  const test::TemporaryDirectory directory;
  const std::string path = below(directory, "first\\" + std::string(300, 'x'));

  EXPECT_EQ(file_create_directory(path.c_str(), true), -1);

  EXPECT_FALSE(is_directory(below(directory, "first")));
}

TEST(DirectoryCreation, TakesNamesOutsideAscii) {
  const test::TemporaryDirectory directory;
  const std::string path = below(directory, "\xC3\x84rger\\\xE6\x97\xA5\xE6\x9C\xAC");

  EXPECT_EQ(file_create_directory(path.c_str(), true), 1);

  EXPECT_TRUE(is_directory(path));
}

TEST(EnsureDirectory, MakesTheDirectoryAndJoinsTheName) {
  const test::TemporaryDirectory directory;
  char out[kPathBytes];

  char* result = file_ensure_directory(below(directory, "a\\b").c_str(), "name.txt", out);

  EXPECT_EQ(result, out);
  EXPECT_EQ(out, below(directory, "a\\b\\name.txt"));
  EXPECT_TRUE(is_directory(below(directory, "a\\b")));
}

TEST(EnsureDirectory, EndsInASeparatorWithoutAName) {
  const test::TemporaryDirectory directory;
  char out[kPathBytes];

  ASSERT_NE(file_ensure_directory(below(directory, "a").c_str(), nullptr, out), nullptr);
  EXPECT_EQ(out, below(directory, "a\\"));
  ASSERT_NE(file_ensure_directory(below(directory, "a\\").c_str(), "", out), nullptr);
  EXPECT_EQ(out, below(directory, "a\\"));
  ASSERT_NE(file_ensure_directory(below(directory, "a/").c_str(), "x", out), nullptr);
  EXPECT_EQ(out, below(directory, "a\\x"));
}

TEST(EnsureDirectory, UsesABufferOfItsOwnWithoutAnother) {
  const test::TemporaryDirectory directory;

  const char* first = file_ensure_directory(backslashed(directory).c_str(), "a", nullptr);
  const char* second = file_ensure_directory(backslashed(directory).c_str(), "b", nullptr);

  EXPECT_EQ(first, second);
  EXPECT_EQ(second, below(directory, "b"));
}

TEST(EnsureDirectory, PutsARelativeDirectoryBelowTheDataPath) {
  const test::TemporaryDirectory directory;
  const test::ProgramPaths paths;
  char out[kPathBytes];

  paths.set_data(backslashed(directory));
  ASSERT_NE(file_ensure_directory("Settings", "a.cfg", out), nullptr);
  EXPECT_EQ(out, below(directory, "Settings\\a.cfg"));

  paths.set_data(backslashed(directory) + "\\");
  ASSERT_NE(file_ensure_directory("Settings", "a.cfg", out), nullptr);
  EXPECT_EQ(out, below(directory, "Settings\\a.cfg"));
}

TEST(EnsureDirectory, RefusesWhatDoesNotFit) {
  const test::TemporaryDirectory directory;
  const test::ProgramPaths paths;
  paths.set_data(backslashed(directory));
  char out[kPathBytes] = "untouched";
  const std::string base = backslashed(directory) + "\\";

  EXPECT_EQ(file_ensure_directory(std::string(259, 'x').c_str(), nullptr, out), nullptr);
  EXPECT_EQ(file_ensure_directory(base.c_str(), std::string(260 - base.size(), 'x').c_str(), out),
            nullptr);
  EXPECT_STREQ(out, "untouched");
  EXPECT_NE(file_ensure_directory(base.c_str(), std::string(259 - base.size(), 'x').c_str(), out),
            nullptr);
  EXPECT_EQ(std::strlen(out), 259U);
}

TEST(EnsureDirectory, MakesNoDrive) {
  const test::TemporaryDirectory directory;
  const test::CurrentDirectory current(directory);
  const test::LogCapture log;
  char out[kPathBytes];

  for (const char* drive : {"Y:", "Y:\\"}) {
    SCOPED_TRACE(drive);
    EXPECT_STREQ(file_ensure_directory(drive, "a.cfg", out), "Y:\\a.cfg");
  }

  EXPECT_EQ(log.lines(), test::Lines{});
  EXPECT_TRUE(std::filesystem::is_empty(test::to_path(directory.path())));
}

TEST(EnsureDirectory, SaysWhyADirectoryCannotBeMade) {
  const test::TemporaryDirectory directory;
  directory.write("file", "x");
  const test::LogCapture log;
  char out[kPathBytes];

  EXPECT_EQ(file_ensure_directory(below(directory, "file").c_str(), nullptr, out), nullptr);

  const test::Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].find("ERROR: Error creating directory " + below(directory, "file") + " : "),
            0U)
      << lines[0];
}

}  // namespace
}  // namespace orsin
