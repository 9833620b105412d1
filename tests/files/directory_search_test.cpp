// Finding files by pattern below a directory.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "files/directory_list.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/current_directory.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::backslashed;
using test::below;
using test::Lines;

using Names = std::vector<std::string>;

class FindFiles : public testing::Test {
 protected:
  Names find(const std::string& dir, const char* pattern, bool recursive = false,
             unsigned flags = 0) {
    const UniqueList list(flist_findfiles(dir.c_str(), pattern, recursive, flags));
    Names names;
    for (int i = 0; list && i < list->file_count; ++i) {
      names.emplace_back(list->files[i]);
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  std::string root() const { return backslashed(directory_); }

  test::TemporaryDirectory directory_;
  test::LogCapture log_;
};

TEST_F(FindFiles, FoldsCaseUnlessToldOtherwise) {
  directory_.write("take1.wav", "x");

  EXPECT_EQ(find(root(), "*.WAV", false, 0), Names{below(directory_, "take1.wav")});
  EXPECT_EQ(flist_findfiles(root().c_str(), "*.WAV", false, 1), nullptr);
  EXPECT_EQ(find(root(), "*.wav", false, 1), Names{below(directory_, "take1.wav")});
}

TEST_F(FindFiles, StoresFullPathsAndNoDirectories) {
  directory_.write("a.wav", "x");
  directory_.write("sub.wav/b.wav", "x");

  const UniqueList list(flist_findfiles(root().c_str(), "*.wav", false, 0));

  ASSERT_TRUE(list);
  EXPECT_EQ(list->path, root());
  EXPECT_EQ(list->file_count, 1);
  EXPECT_EQ(list->dir_count, 0);
  ASSERT_EQ(list->entry_count, 1);
  EXPECT_EQ(list->entries[0].name, list->files[0]);
  EXPECT_EQ(list->entries[0].name, below(directory_, "a.wav"));
  EXPECT_EQ(list->entries[0].stored_length, below(directory_, "a.wav").size());
  EXPECT_EQ(list->entries[0].is_directory, 0);
  EXPECT_GT(list->entries[0].write_time, 0U);
}

TEST_F(FindFiles, LooksIntoSubdirectoriesOnRequest) {
  directory_.write("a.wav", "x");
  directory_.write("sub/b.wav", "x");
  directory_.write("sub/deep/c.wav", "x");
  directory_.write("sub/deep/c.mov", "x");

  EXPECT_EQ(find(root(), "*.wav", true),
            (Names{below(directory_, "a.wav"), below(directory_, "sub\\b.wav"),
                   below(directory_, "sub\\deep\\c.wav")}));
  EXPECT_EQ(find(root(), "*.wav", false), Names{below(directory_, "a.wav")});
}

TEST_F(FindFiles, FindsBelowADirectoryWithoutAMatchOfItsOwn) {
  directory_.write("sub/deep/c.wav", "x");

  EXPECT_EQ(find(root(), "c.*", true), Names{below(directory_, "sub\\deep\\c.wav")});
}

TEST_F(FindFiles, DropsOneTrailingSeparator) {
  directory_.write("a.wav", "x");

  for (const char* separator : {"\\", "/"}) {
    SCOPED_TRACE(separator);
    EXPECT_EQ(find(root() + separator, "*.wav"), Names{below(directory_, "a.wav")});
  }
}

TEST_F(FindFiles, DropsTheSeparatorOfADirectoryWithANameOfOneLetter) {
  const test::CurrentDirectory current(directory_);
  directory_.write("s/a.wav", "x");

  const UniqueList list(flist_findfiles("s\\", "*.wav", false, 0));

  ASSERT_TRUE(list);
  EXPECT_STREQ(list->path, "s");
  EXPECT_STREQ(list->files[0], "s\\a.wav");
}

TEST_F(FindFiles, GivesNullWithoutAMatch) {
  directory_.write("a.wav", "x");

  EXPECT_EQ(flist_findfiles(root().c_str(), "*.mov", true, 0), nullptr);
  EXPECT_EQ(flist_findfiles(root().c_str(), "", true, 0), nullptr);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(FindFiles, LooksIntoTheRootOfTheCurrentDrive) {
  EXPECT_EQ(find("\\", "orsin: no such file"), Names{});

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(FindFiles, WarnsAboutADirectoryThatCannotBeOpened) {
  const std::string missing = below(directory_, "missing");

  EXPECT_EQ(flist_findfiles(missing.c_str(), "*", true, 0), nullptr);

  EXPECT_EQ(log_.lines(), Lines{"WARN : ERROR: Find, can't open directory: '" + missing + "'"});
}

TEST_F(FindFiles, RefusesALongDirectoryInSilence) {
  EXPECT_EQ(flist_findfiles(std::string(260, 'x').c_str(), "*", true, 0), nullptr);
  EXPECT_EQ(flist_findfiles(std::string(259, 'x').c_str(), "*", true, 0), nullptr);
  EXPECT_EQ(log_.lines(), Lines{});

  EXPECT_EQ(flist_findfiles(std::string(258, 'x').c_str(), "*", true, 0), nullptr);
  EXPECT_EQ(log_.lines(),
            Lines{"WARN : ERROR: Find, can't open directory: '" + std::string(258, 'x') + "'"});
}

// Fills a path up to a wanted length with directories of at most 100 bytes.
std::string directories_up_to(const std::string& root, std::size_t length) {
  std::string path = root;
  while (path.size() + 2 <= length) {
    const std::size_t room = length - path.size() - 1;
    // One byte alone would need a separator and have no room for a name.
    std::size_t part = std::min<std::size_t>(room, 100);
    part = room - part == 1 ? part - 1 : part;
    path += "\\" + std::string(part, 'd');
  }
  return path;
}

TEST_F(FindFiles, LeavesOutWhatDoesNotFitIntoAPath) {
  const std::string deep = directories_up_to(root(), 250);
  ASSERT_EQ(deep.size(), 250U);
  ASSERT_EQ(file_create_directory(deep.c_str(), true), 1);
  const std::string relative = deep.substr(root().size() + 1);
  std::string slashed = relative;
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  directory_.write(slashed + "/12345678", "x");   // 259 bytes.
  directory_.write(slashed + "/123456789", "x");  // 260.

  EXPECT_EQ(find(root(), "1*", true), Names{deep + "\\12345678"});
}

}  // namespace
}  // namespace orsin
