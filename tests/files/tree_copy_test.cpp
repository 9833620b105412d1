#include <gtest/gtest.h>

#include <string>

#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/current_directory.h"
#include "tests/files/io_start.h"
#include "tests/files/program_paths_standin.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::Lines;
using test::TemporaryDirectory;

class TreeCopy : public testing::Test {
 protected:
  int copy(const std::string& source, const std::string& destination, bool recursive = true) {
    return ov_filecopy(source.c_str(), destination.c_str(), recursive, bytes_);
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::LogCapture log_{0};
  unsigned long long bytes_ = 77;
};

TEST_F(TreeCopy, CopiesOneFileWithItsTime) {
  directory_.write("source.bin", "content");
  ASSERT_TRUE(file_set_modified_ts(below(directory_, "source.bin").c_str(), 1706704496));

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin")), 0);

  EXPECT_EQ(bytes_, 7U);  // Reset first, unlike in file_copy().
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "content");
  EXPECT_EQ(file_get_modified_ts(below(directory_, "copy.bin").c_str()), 1706704496U);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(TreeCopy, PutsAFileIntoADirectory) {
  directory_.write("source.bin", "content");
  ASSERT_EQ(file_create_directory(below(directory_, "into").c_str(), false), 0);

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "into")), 0);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("into/source.bin")), "content");
}

TEST_F(TreeCopy, PutsAFileOfTheCurrentDirectoryIntoAnother) {
  const test::CurrentDirectory current(directory_);
  directory_.write("source.bin", "content");
  ASSERT_EQ(file_create_directory(below(directory_, "into").c_str(), false), 0);

  for (const char* into : {"into", "into\\"}) {
    SCOPED_TRACE(into);
    EXPECT_EQ(copy("source.bin", into), 0);

    EXPECT_EQ(TemporaryDirectory::read(directory_.path("into/source.bin")), "content");
    EXPECT_EQ(file_delete("into\\source.bin"), 0);
  }
}

TEST_F(TreeCopy, CopiesATreeAndCountsItsFiles) {
  directory_.write("tree/a.bin", "1");
  directory_.write("tree/b.bin", "22");
  directory_.write("tree/sub/c.bin", "333");
  directory_.write("tree/sub/deep/d.bin", "4444");

  EXPECT_EQ(copy(below(directory_, "tree"), below(directory_, "copy")), 4);

  EXPECT_EQ(bytes_, 10U);
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy/a.bin")), "1");
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy/sub/deep/d.bin")), "4444");
}

TEST_F(TreeCopy, LeavesSubdirectoriesOutWithoutRecursion) {
  directory_.write("tree/a.bin", "1");
  directory_.write("tree/sub/c.bin", "333");

  EXPECT_EQ(copy(below(directory_, "tree"), below(directory_, "copy"), false), 1);

  EXPECT_EQ(file_is_directory(below(directory_, "copy\\sub").c_str()), 0);
}

TEST_F(TreeCopy, Gives0ForAMissingSource) {
  EXPECT_EQ(copy(below(directory_, "missing"), below(directory_, "copy")), 0);
  EXPECT_EQ(bytes_, 0U);
}

TEST_F(TreeCopy, RefusesTheSameString) {
  const std::string path = below(directory_, "a");

  EXPECT_EQ(copy(path, path), -1);

  EXPECT_NE(log_.text().find("FileCopy: Source and destination are the same!\n'" + path +
                             "' no copy done\n"),
            std::string::npos);
}

TEST_F(TreeCopy, MakesNothingOfATreeBelowItself) {
  directory_.write("takes/one.wav", "one");
  const std::string takes = below(directory_, "takes");
  const std::string takes_in_capitals = below(directory_, "TAKES");

  EXPECT_EQ(copy(takes, takes + "\\copy"), -1);
  EXPECT_EQ(copy(takes + "\\", takes_in_capitals + "/deep/copy"), -1);
  EXPECT_EQ(copy(takes, takes + "\\"), -1);

  EXPECT_EQ(file_is_directory((takes + "\\copy").c_str()), 0);
  EXPECT_EQ(file_is_directory((takes + "\\deep").c_str()), 0);
}

// Its directories would be made below the data path, but its files written to below the current one.
TEST_F(TreeCopy, MakesNothingOfATreeThatHoldsTheCurrentDirectory) {
  const test::CurrentDirectory current(directory_);
  const TemporaryDirectory elsewhere;
  const test::ProgramPaths paths;
  paths.set_data(test::backslashed(elsewhere));
  directory_.write("takes/one.wav", "one");

  EXPECT_EQ(copy(below(directory_, "takes"), "takes\\copy"), -1);
  EXPECT_EQ(copy(test::backslashed(directory_), "copy"), -1);

  EXPECT_EQ(file_is_directory(below(directory_, "takes\\copy").c_str()), 0);
  EXPECT_EQ(file_is_directory(below(directory_, "copy").c_str()), 0);
  EXPECT_EQ(file_is_directory(below(elsewhere, "takes\\copy").c_str()), 0);
  EXPECT_EQ(file_is_directory(below(elsewhere, "copy").c_str()), 0);
}

TEST_F(TreeCopy, SaysThatATreeWouldBeCopiedBelowItself) {
  directory_.write("takes/one.wav", "one");
  const std::string takes = below(directory_, "takes");

  EXPECT_EQ(copy(takes, takes + "\\.backup"), -1);

  EXPECT_EQ(log_.lines(), (Lines{"ERROR: FileCopy: '" + takes + "\\.backup' lies in '" + takes +
                                 "', no copy done"}));
}

TEST_F(TreeCopy, GoesByWhereATreeIsAndNotByHowItIsSpelled) {
  directory_.write("takes/one.wav", "one");
  directory_.write("takes/in/two.wav", "two");
  const std::string root = test::backslashed(directory_);

  EXPECT_EQ(copy(root + "\\takes", root + "\\takes\\..\\backup"), 2);
  EXPECT_EQ(copy(root + "\\takes", root + "\\.\\takes\\in"), -1);
  EXPECT_EQ(copy(root + "\\takes", root + "\\backup\\..\\takes\\in\\deep\\er"), -1);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("backup/in/two.wav")), "two");
  EXPECT_EQ(file_is_directory((root + "\\takes\\in\\deep").c_str()), 0);
}

TEST_F(TreeCopy, PutsATreeBesideItself) {
  directory_.write("takes/one.wav", "one");
  const std::string takes = below(directory_, "takes");

  EXPECT_EQ(copy(takes, takes + " of today"), 1);
  EXPECT_EQ(copy(takes, below(directory_, "take")), 1);
  EXPECT_EQ(copy(takes, takes + "\\flat", false), 1);

  for (const char* copied : {"takes of today/one.wav", "take/one.wav", "takes/flat/one.wav"}) {
    SCOPED_TRACE(copied);
    EXPECT_EQ(test::TemporaryDirectory::read(directory_.path(copied)), "one");
  }
}

TEST_F(TreeCopy, KeepsRefusingAnEmptySource) {
  directory_.write("empty.bin", "");

  EXPECT_EQ(copy(below(directory_, "empty.bin"), below(directory_, "copy.bin")), -3);

  EXPECT_EQ(file_exists(below(directory_, "copy.bin").c_str()), 0);
}

TEST_F(TreeCopy, StopsATreeAtAFileThatCannotBeCopied) {
  directory_.write("tree/a.bin", "1");
  directory_.write("tree/b.bin", "");

  EXPECT_EQ(copy(below(directory_, "tree"), below(directory_, "copy")), -1);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy/a.bin")), "1");
}

TEST_F(TreeCopy, Gives2ForADestinationThatCannotBeCreated) {
  directory_.write("source.bin", "content");

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "missing\\copy.bin")), -2);
}

}  // namespace
}  // namespace orsin
