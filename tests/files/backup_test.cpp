#include <gtest/gtest.h>

#include <string>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;

TEST(Backup, MovesEveryGenerationUpByOne) {
  const test::TemporaryDirectory directory;
  directory.write("logs/app.log", "now");
  directory.write("logs/app.1.log", "one");
  directory.write("logs/app.2.log", "two");

  EXPECT_EQ(file_backup(below(directory, "logs\\app.log").c_str(), 3), 3);

  EXPECT_EQ(file_exists(below(directory, "logs\\app.log").c_str()), 0);
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("logs/app.1.log")), "now");
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("logs/app.2.log")), "one");
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("logs/app.3.log")), "two");
}

TEST(Backup, RemovesTheOldestGeneration) {
  const test::TemporaryDirectory directory;
  directory.write("app.log", "now");
  directory.write("app.1.log", "one");
  directory.write("app.2.log", "two");
  const test::LogCapture log;

  EXPECT_EQ(file_backup(below(directory, "app.log").c_str(), 2), 2);

  EXPECT_EQ(log.lines(), test::Lines{});
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("app.1.log")), "now");
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("app.2.log")), "one");
  EXPECT_EQ(file_exists(below(directory, "app.3.log").c_str()), 0);
}

TEST(Backup, SkipsMissingGenerations) {
  const test::TemporaryDirectory directory;
  directory.write("app.2.log", "two");

  EXPECT_EQ(file_backup(below(directory, "app.log").c_str(), 10), 1);

  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("app.3.log")), "two");
}

TEST(Backup, DoesNothingWithoutGenerations) {
  const test::TemporaryDirectory directory;
  directory.write("app.log", "now");

  EXPECT_EQ(file_backup(below(directory, "app.log").c_str(), 0), 0);
  EXPECT_EQ(file_backup(below(directory, "app.log").c_str(), -1), 0);

  EXPECT_EQ(file_exists(below(directory, "app.log").c_str()), 1);
}

TEST(Backup, LeavesDirectoriesAlone) {
  const test::TemporaryDirectory directory;
  directory.write("app.log/inside", "x");

  EXPECT_EQ(file_backup(below(directory, "app.log").c_str(), 1), 0);

  EXPECT_EQ(file_is_directory(below(directory, "app.log").c_str()), 1);
}

TEST(Backup, KeepsALoneDotAfterTheNumberOfANameWithoutExtension) {
  // The dot must be the last one anywhere, so the directory's name may hold none.
  const test::TemporaryDirectory directory;
  directory.write("logs/app", "now");

  EXPECT_EQ(file_backup(below(directory, "logs\\app").c_str(), 1), 1);

  EXPECT_EQ(file_exists(below(directory, "logs\\app").c_str()), 0);
  EXPECT_EQ(file_exists(below(directory, "logs\\app.1.").c_str()), 1);
}

TEST(Backup, KeepsSplittingAtADotInADirectoryName) {
  const test::TemporaryDirectory directory;
  directory.write("v1.2/app", "now");

  EXPECT_EQ(file_backup(below(directory, "v1.2\\app").c_str(), 1), 1);

  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("v1.1.2/app")), "now");
}

TEST(Backup, KeepsCountingAStepThatFailed) {
  const test::TemporaryDirectory directory;
  directory.write("app.log", "now");
  directory.write("app.1.log/in the way", "x");
  const test::LogCapture log;

  EXPECT_EQ(file_backup(below(directory, "app.log").c_str(), 1), 1);

  const test::Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].find("ERROR: F-BK: Failed to rename...("), 0U) << lines[0];
  EXPECT_EQ(lines[1], "     : File: '" + below(directory, "app.log") + "'");
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("app.log")), "now");
}

#if defined(_WIN32)  // Elsewhere a read-only file can be removed.
TEST(Backup, SaysThatTheLastGenerationCannotBeRemoved) {
  const test::TemporaryDirectory directory;
  directory.write("app.log", "now");
  directory.write("app.1.log", "one");
  const std::string last = below(directory, "app.1.log");
  ASSERT_TRUE(port::write_attributes(last.c_str(), port::kReadOnly));
  const test::LogCapture log;

  EXPECT_EQ(file_backup(below(directory, "app.log").c_str(), 1), 1);

  const test::Lines lines = log.lines();
  EXPECT_TRUE(port::write_attributes(last.c_str(), 0x80));  // Or it could not be removed later.
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0], "ERROR: F-BK: Failed to remove...(Permission denied)");
  EXPECT_EQ(lines[1], "     : File: '" + last + "'");
  EXPECT_EQ(lines[2].find("ERROR: F-BK: Failed to rename...("), 0U) << lines[2];
  EXPECT_EQ(lines[3], "     : File: '" + below(directory, "app.log") + "'");
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("app.1.log")), "one");
}
#endif

TEST(Backup, CannotRotateAPathWithoutSeparator) {
  const test::LogCapture log;
  const std::string name = "orsin-backup-test-without-separator.log";
  std::FILE* file = std::fopen(name.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  std::fclose(file);

  EXPECT_EQ(file_backup(name.c_str(), 3), 1);

  const test::Lines lines = log.lines();
  EXPECT_EQ(std::remove(name.c_str()), 0);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].find("ERROR: F-BK: Failed to rename...("), 0U) << lines[0];
  EXPECT_EQ(lines[1], "     : File: '" + name + "'");
}

}  // namespace
}  // namespace orsin
