#include <gtest/gtest.h>

#include <string>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"

namespace orsin {
namespace {

using test::backslashed;
using test::below;

TEST(FileState, TellsFilesFromDirectories) {
  const test::TemporaryDirectory directory;
  directory.write("file", "x");

  EXPECT_EQ(file_exists(below(directory, "file").c_str()), 1);
  EXPECT_EQ(file_is_directory(below(directory, "file").c_str()), 0);
  EXPECT_EQ(file_exists(backslashed(directory).c_str()), 0);
  EXPECT_EQ(file_is_directory(backslashed(directory).c_str()), 1);
  EXPECT_EQ(file_exists(below(directory, "missing").c_str()), 0);
  EXPECT_EQ(file_is_directory(below(directory, "missing").c_str()), 0);
  EXPECT_EQ(file_exists(""), 0);
  EXPECT_EQ(file_is_bundle(backslashed(directory).c_str()), 0);
}

TEST(FileState, KnowsNamesOutsideAscii) {
  const test::TemporaryDirectory directory;
  directory.write("\xC3\xA9\xE6\x97\xA5.wav", "12345");

  EXPECT_EQ(file_exists(below(directory, "\xC3\xA9\xE6\x97\xA5.wav").c_str()), 1);
  EXPECT_EQ(file_size(below(directory, "\xC3\xA9\xE6\x97\xA5.wav").c_str()), 5);
}

TEST(FileState, KnowsSizes) {
  const test::TemporaryDirectory directory;
  directory.write("file", std::string(12345, 'x'));

  EXPECT_EQ(file_size(below(directory, "file").c_str()), 12345);
  EXPECT_EQ(file_size(below(directory, "missing").c_str()), 0);
}

TEST(FileState, CountsAMissingFileAsInUse) {
  const test::TemporaryDirectory directory;
  directory.write("file", "x");

  EXPECT_FALSE(file_in_use(below(directory, "file").c_str()));
  EXPECT_TRUE(file_in_use(below(directory, "missing").c_str()));
}

TEST(FileState, KnowsHiddenFiles) {
  const test::TemporaryDirectory directory;
  directory.write("secret", "x");
  directory.write("open", "x");
  ASSERT_TRUE(port::write_attributes(below(directory, "secret").c_str(), port::kHidden));
  const std::string path = backslashed(directory);

  EXPECT_EQ(file_is_hidden(path.c_str(), "secret"), 1);
  EXPECT_EQ(file_is_hidden((path + "\\").c_str(), "secret"), 1);
  EXPECT_EQ(file_is_hidden(below(directory, "secret").c_str(), nullptr), 1);
  EXPECT_EQ(file_is_hidden(below(directory, "secret").c_str(), ""), 1);
  EXPECT_EQ(file_is_hidden(path.c_str(), "open"), 0);
  EXPECT_EQ(file_is_hidden(path.c_str(), "missing"), 0);
  EXPECT_EQ(file_is_hidden(nullptr, "secret"), 0);
  EXPECT_EQ(file_is_hidden("", "secret"), 0);
}

TEST(FileState, RefusesATimeThatTheSystemDoesNotHave) {
  const test::TemporaryDirectory directory;
  directory.write("file", "x");
  const std::string path = below(directory, "file");
  constexpr unsigned long long kLastSecond = 910692730085;
  EXPECT_TRUE(file_set_modified_ts(path.c_str(), kLastSecond));
  ASSERT_TRUE(file_set_modified_ts(path.c_str(), 1000));

  EXPECT_FALSE(file_set_modified_ts(path.c_str(), kLastSecond + 1));
  EXPECT_FALSE(file_set_modified_ts(path.c_str(), ~0ULL));

  EXPECT_EQ(file_get_modified_ts(path.c_str()), 1000U);
}

TEST(FileState, SetsAndReadsTheTimeOfTheLastWrite) {
  const test::TemporaryDirectory directory;
  directory.write("file", "x");
  constexpr unsigned long long kTime = 1706704496;  // 2024-01-31 12:34:56 UTC.

  EXPECT_TRUE(file_set_modified_ts(below(directory, "file").c_str(), kTime));

  EXPECT_EQ(file_get_modified_ts(below(directory, "file").c_str()), kTime);
  EXPECT_FALSE(file_set_modified_ts(below(directory, "missing").c_str(), kTime));
  EXPECT_EQ(file_get_modified_ts(below(directory, "missing").c_str()), 0U);
}

}  // namespace
}  // namespace orsin
