#include <gtest/gtest.h>

#include <string>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"

namespace orsin {
namespace {

using test::backslashed;
using test::below;

TEST(FileDeletion, DeletesAFileOrAnEmptyDirectory) {
  const test::TemporaryDirectory directory;
  directory.write("file", "x");
  ASSERT_EQ(file_create_directory(below(directory, "empty").c_str(), false), 0);

  EXPECT_EQ(file_delete(below(directory, "file").c_str()), 0);
  EXPECT_EQ(file_delete(below(directory, "empty").c_str()), 0);

  EXPECT_EQ(file_exists(below(directory, "file").c_str()), 0);
  EXPECT_EQ(file_is_directory(below(directory, "empty").c_str()), 0);
}

TEST(FileDeletion, FailsForWhatIsMissingOrNotEmpty) {
  const test::TemporaryDirectory directory;
  directory.write("full/file", "x");

  EXPECT_EQ(file_delete(below(directory, "missing").c_str()), -1);
  EXPECT_EQ(file_delete(below(directory, "full").c_str()), -1);

  EXPECT_EQ(file_exists(below(directory, "full\\file").c_str()), 1);
}

TEST(DirectoryDeletion, DeletesFilesAndSubdirectories) {
  const test::TemporaryDirectory directory;
  directory.write("tree/a.txt", "x");
  directory.write("tree/sub/b.txt", "x");
  directory.write("tree/sub/below/c.txt", "x");

  EXPECT_EQ(file_delete_directory(below(directory, "tree").c_str(), true), 1);

  EXPECT_EQ(file_is_directory(below(directory, "tree").c_str()), 0);
}

TEST(DirectoryDeletion, WithoutRecursionFailsAtASubdirectory) {
  const test::TemporaryDirectory directory;
  directory.write("tree/a.txt", "x");
  directory.write("tree/sub/b.txt", "x");

  EXPECT_EQ(file_delete_directory(below(directory, "tree").c_str(), false), -1);

  EXPECT_EQ(file_exists(below(directory, "tree\\a.txt").c_str()), 0);
  EXPECT_EQ(file_exists(below(directory, "tree\\sub\\b.txt").c_str()), 1);
}

TEST(DirectoryDeletion, DeletesJustTheFileWhenGivenOne) {
  const test::TemporaryDirectory directory;
  directory.write("tree/a.txt", "x");
  directory.write("tree/b.txt", "x");

  EXPECT_EQ(file_delete_directory(below(directory, "tree\\a.txt").c_str(), true), 1);
  EXPECT_EQ(file_delete_directory(below(directory, "tree\\missing").c_str(), true), -1);

  EXPECT_EQ(file_exists(below(directory, "tree\\a.txt").c_str()), 0);
  EXPECT_EQ(file_exists(below(directory, "tree\\b.txt").c_str()), 1);
}

TEST(DirectoryDeletion, KeepsGoingPastASubdirectoryThatStays) {
  const test::TemporaryDirectory directory;
  directory.write("tree/a/.hidden", "x");  // Not listed, so "a" cannot be emptied.
  directory.write("tree/b/file", "x");
  ASSERT_TRUE(port::write_attributes(below(directory, "tree\\a\\.hidden").c_str(), port::kHidden));

  EXPECT_EQ(file_delete_directory(below(directory, "tree").c_str(), true), -1);

  EXPECT_EQ(file_exists(below(directory, "tree\\a\\.hidden").c_str()), 1);
  EXPECT_EQ(file_is_directory(below(directory, "tree\\b").c_str()), 0);
}

TEST(FileMove, RenamesAndMakesTheDirectory) {
  const test::TemporaryDirectory directory;
  directory.write("a.txt", "content");

  EXPECT_EQ(
      file_move(below(directory, "a.txt").c_str(), below(directory, "x\\y\\b.txt").c_str(), false),
      0);

  EXPECT_EQ(file_exists(below(directory, "a.txt").c_str()), 0);
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("x/y/b.txt")), "content");
}

TEST(FileMove, SaysWhyNot) {
  const test::TemporaryDirectory directory;
  directory.write("a.txt", "a");
  directory.write("b.txt", "b");
  const std::string a = below(directory, "a.txt");
  const std::string b = below(directory, "b.txt");

  EXPECT_EQ(file_move(nullptr, b.c_str(), false), -6);
  EXPECT_EQ(file_move("", b.c_str(), false), -6);
  EXPECT_EQ(file_move(a.c_str(), nullptr, false), -10);
  EXPECT_EQ(file_move(a.c_str(), "", false), -10);
  EXPECT_EQ(file_move(a.c_str(), a.c_str(), true), -9);
  EXPECT_EQ(file_move(a.c_str(), b.c_str(), false), -7);
  EXPECT_EQ(file_move(a.c_str(), "plain", false), -4);
  EXPECT_EQ(file_move(a.c_str(), (below(directory, std::string(260, 'x')) + "\\b").c_str(), false),
            -4);
  EXPECT_EQ(file_move(a.c_str(), below(directory, "b.txt\\c.txt").c_str(), false), -5);
  EXPECT_EQ(file_move(below(directory, "missing").c_str(), below(directory, "c").c_str(), false),
            -11);
}

TEST(FileMove, KeepsAnExistingDestinationEvenWhenOverwriting) {
  const test::TemporaryDirectory directory;
  directory.write("a.txt", "a");
  directory.write("b.txt", "b");

  EXPECT_EQ(file_move(below(directory, "a.txt").c_str(), below(directory, "b.txt").c_str(), true),
            -11);

  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("a.txt")), "a");
  EXPECT_EQ(test::TemporaryDirectory::read(directory.path("b.txt")), "b");
}

}  // namespace
}  // namespace orsin
