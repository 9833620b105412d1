// Files that take their name when they are complete.
#include "base/new_file.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <regex>
#include <string>

#include "tests/files/current_directory.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::TemporaryDirectory;

std::size_t count_files(const TemporaryDirectory& directory) {
  const std::filesystem::directory_iterator entries(test::to_path(directory.path()));
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// Of the numbers that the next files would be called by.
void take_numbers(const TemporaryDirectory& directory, unsigned count) {
  unsigned number = 0;
  {
    const NewFile file(directory.path("take").c_str(), "wb");
    const std::filesystem::directory_iterator entries(test::to_path(directory.path()));
    number =
        static_cast<unsigned>(std::stoul(test::to_utf8(entries->path().filename()).substr(1, 6)));
  }
  for (unsigned i = 1; i <= count; ++i) {
    char name[16];
    std::snprintf(name, sizeof(name), "~%06u.new", (number + i) % 1000000);
    directory.write(name, "another's");
  }
}

TEST(NewFile, TakesItsNameOnlyWhenItIsCommitted) {
  const TemporaryDirectory directory;
  const std::string path = directory.path("take\u00fc.txt");

  NewFile file(path.c_str(), "wb");
  ASSERT_NE(file.stream(), nullptr);
  std::fputs("content", file.stream());
  EXPECT_FALSE(std::filesystem::exists(test::to_path(path)));
  EXPECT_TRUE(file.commit());

  EXPECT_EQ(TemporaryDirectory::read(path), "content");
  EXPECT_EQ(count_files(directory), 1u);
}

TEST(NewFile, IsCalledByANumberUntilThen) {
  const TemporaryDirectory directory;
  const NewFile file(directory.path("take.txt").c_str(), "wb");
  ASSERT_NE(file.stream(), nullptr);

  const std::filesystem::directory_iterator entries(test::to_path(directory.path()));
  const std::string name = test::to_utf8(entries->path().filename());

  EXPECT_TRUE(std::regex_match(name, std::regex("~[0-9]{6}\\.new"))) << name;
}

TEST(NewFile, LeavesNothingBehindWithoutACommit) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("take.txt", "old");

  {
    const NewFile file(path.c_str(), "wb");
    ASSERT_NE(file.stream(), nullptr);
    std::fputs("content", file.stream());
    EXPECT_EQ(count_files(directory), 2u);
  }

  EXPECT_EQ(TemporaryDirectory::read(path), "old");
  EXPECT_EQ(count_files(directory), 1u);
}

TEST(NewFile, LeavesADirectoryOfItsNameAlone) {
  const TemporaryDirectory directory;
  directory.write("take/file", "x");

  {
    NewFile file(directory.path("take").c_str(), "wb");
    EXPECT_NE(file.stream(), nullptr);
    EXPECT_FALSE(file.commit());
  }

  EXPECT_EQ(TemporaryDirectory::read(directory.path("take/file")), "x");
  EXPECT_EQ(count_files(directory), 1u);
}

TEST(NewFile, IsNotMadeWhereThereIsNoPlace) {
  const TemporaryDirectory directory;
  const std::string missing = directory.path("missing/take.txt");
  const std::string too_long(260, 'x');

  for (const char* path : {static_cast<const char*>(nullptr), missing.c_str(), too_long.c_str()}) {
    NewFile file(path, "wb");
    EXPECT_EQ(file.stream(), nullptr);
    EXPECT_FALSE(file.commit());
  }
}

TEST(NewFile, LeavesAFileThatHasItsNumberAfterTheCommit) {
  const TemporaryDirectory directory;
  std::string name;
  {
    NewFile file(directory.path("take").c_str(), "wb");
    ASSERT_NE(file.stream(), nullptr);
    name = test::to_utf8(
        std::filesystem::directory_iterator(test::to_path(directory.path()))->path().filename());
    ASSERT_TRUE(file.commit());
    directory.write(name, "another's");
  }

  EXPECT_EQ(TemporaryDirectory::read(directory.path(name)), "another's");
}

TEST(NewFile, HasANameOfItsOwnForEachOne) {
  const TemporaryDirectory directory;
  NewFile first(directory.path("first").c_str(), "wb");
  NewFile second(directory.path("second").c_str(), "wb");
  ASSERT_NE(first.stream(), nullptr);
  ASSERT_NE(second.stream(), nullptr);
  std::fputs("1", first.stream());
  std::fputs("2", second.stream());

  EXPECT_TRUE(second.commit());
  EXPECT_TRUE(first.commit());

  EXPECT_EQ(TemporaryDirectory::read(directory.path("first")), "1");
  EXPECT_EQ(TemporaryDirectory::read(directory.path("second")), "2");
}

// It looks at no more than a thousand numbers, and every file that has one is somebody's.
TEST(NewFile, TakesTheThousandthNumber) {
  const TemporaryDirectory directory;
  take_numbers(directory, 999);

  const NewFile file(directory.path("take").c_str(), "wb");

  EXPECT_NE(file.stream(), nullptr);
}

TEST(NewFile, OverwritesNoFileWhereEveryNumberIsTaken) {
  const TemporaryDirectory directory;
  take_numbers(directory, 1000);

  {
    NewFile file(directory.path("take").c_str(), "wb");
    EXPECT_EQ(file.stream(), nullptr);
    EXPECT_FALSE(file.commit());
  }

  EXPECT_EQ(count_files(directory), 1000U);
  for (const auto& entry : std::filesystem::directory_iterator(test::to_path(directory.path()))) {
    EXPECT_EQ(entry.file_size(), 9U) << entry.path();
  }
}

TEST(NewFile, TakesAPathOfTheLastLength) {
  const TemporaryDirectory directory;
  constexpr std::size_t kDirectoryBytes = 245;  // Windows makes none of more than 247.
  std::string path = directory.path(std::string(kDirectoryBytes - directory.path("").size(), 'd'));
  std::filesystem::create_directory(test::to_path(path));
  path += "/" + std::string(258 - path.size(), 't');
  ASSERT_EQ(path.size(), 259U);

  NewFile file(path.c_str(), "wb");

  ASSERT_NE(file.stream(), nullptr);
  EXPECT_TRUE(file.commit());
  EXPECT_TRUE(std::filesystem::exists(test::to_path(path)));
}

// Its path is its own until it has been opened, and no longer than until it was committed.
TEST(NewFile, TouchesNoOtherFile) {
  const TemporaryDirectory directory;
  const test::CurrentDirectory here(directory);
  directory.write("m", "another's");
  directory.write("~", "another's");

  {
    const NewFile refused("missing/take", "wb");
    EXPECT_EQ(refused.stream(), nullptr);
  }
  {
    NewFile taken("take", "wb");
    ASSERT_NE(taken.stream(), nullptr);
    EXPECT_TRUE(taken.commit());
  }

  EXPECT_EQ(TemporaryDirectory::read(directory.path("m")), "another's");
  EXPECT_EQ(TemporaryDirectory::read(directory.path("~")), "another's");
}

}  // namespace
}  // namespace orsin
