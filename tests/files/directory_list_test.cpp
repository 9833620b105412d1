// Listing one directory and sorting the list.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "files/directory_list.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/current_directory.h"
#include "tests/files/program_paths_standin.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::backslashed;
using test::below;
using test::Lines;

using Names = std::vector<std::string>;

Names names_of(char* const* names, int count) {
  return Names(names, names + count);
}

Names files_of(const UniqueList& list) {
  return names_of(list->files, list->file_count);
}
Names directories_of(const UniqueList& list) {
  return names_of(list->dirs, list->dir_count);
}
Names entries_of(const UniqueList& list) {
  Names names;
  for (int i = 0; i < list->entry_count; ++i) {
    names.emplace_back(list->entries[i].name);
  }
  return names;
}
Names sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

// The root of no volume.
std::string missing_drive() {
  std::string drive = "Y:";
  while (drive[0] > 'D' && file_is_directory((drive + "\\").c_str()) != 0) {
    --drive[0];
  }
  return drive;
}

class DirectoryList : public testing::Test {
 protected:
  static UniqueList list(const std::string& path, int sort = 0) {
    return UniqueList(flist_new(path.c_str(), sort));
  }
  UniqueList list_root(int sort = 0) const { return list(root(), sort); }
  std::string root() const { return backslashed(directory_); }

  void write(std::string_view name, unsigned long long time = 0) const {
    directory_.write(name, "x");
    if (time != 0) {
      std::string path = below(directory_, name);
      std::replace(path.begin(), path.end(), '/', '\\');
      EXPECT_TRUE(file_set_modified_ts(path.c_str(), time)) << path;
    }
  }
  void make_directory(std::string_view name) const {
    ASSERT_EQ(file_create_directory(below(directory_, name).c_str(), true), 0) << name;
  }

  bool is_hidden(const char* name) const { return file_is_hidden(root().c_str(), name) != 0; }

  test::TemporaryDirectory directory_;
  test::LogCapture log_;
};

TEST_F(DirectoryList, TellsFilesFromDirectories) {
  write("b.wav", 1706704496);
  write("a.wav", 1706704497);
  make_directory("sub");

  const UniqueList found = list_root();

  ASSERT_TRUE(found);
  EXPECT_EQ(found->path, root());
  EXPECT_EQ(sorted(files_of(found)), (Names{"a.wav", "b.wav"}));
  EXPECT_EQ(directories_of(found), Names{"sub"});
  EXPECT_EQ(sorted(entries_of(found)), (Names{"a.wav", "b.wav", "sub"}));
  for (int i = 0; i < found->entry_count; ++i) {
    const dir_list_entry& entry = found->entries[i];
    const std::string name = entry.name;
    EXPECT_EQ(entry.is_directory, name == "sub" ? 1 : 0) << name;
    // A directory's string carries a label as well, here an empty one.
    EXPECT_EQ(entry.stored_length, name == "sub" ? 4U : 5U) << name;
    if (name == "b.wav") {
      EXPECT_EQ(entry.write_time, (1706704496 + 11644473600ULL) * 10000000);
    }
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(DirectoryList, PointsFromFilesAndDirectoriesIntoTheEntries) {
  write("a.wav");
  make_directory("sub");

  const UniqueList found = list_root(1);

  ASSERT_EQ(found->entry_count, 2);
  for (int i = 0; i < 2; ++i) {
    const dir_list_entry& entry = found->entries[i];
    EXPECT_EQ(entry.name, entry.is_directory != 0 ? found->dirs[0] : found->files[0]);
  }
}

TEST_F(DirectoryList, IsEmptyForAnEmptyDirectory) {
  const UniqueList found = list_root(1);

  ASSERT_TRUE(found);
  EXPECT_EQ(found->entry_count, 0);
  EXPECT_EQ(found->file_count, 0);
  EXPECT_EQ(found->dir_count, 0);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(DirectoryList, GrowsTo1024AndThenBy128) {
  // A name of 64 bytes lives outside the name cache.
  for (int i = 0; i < 1025; ++i) {
    write((i % 2 == 0 ? std::string(60, 'n') : "take") + std::to_string(1000 + i));
  }
  for (int i = 0; i < 129; ++i) {
    make_directory("sub" + std::to_string(i));
  }

  const UniqueList found = list_root(1);

  EXPECT_EQ(found->file_count, 1025);
  EXPECT_EQ(found->file_capacity, 1024 + 128);
  EXPECT_EQ(found->dir_count, 129);
  EXPECT_EQ(found->dir_capacity, 256);
  EXPECT_EQ(found->entry_count, 1025 + 129);
  EXPECT_EQ(found->entry_capacity, 1024 + 2 * 128);
  EXPECT_STREQ(found->files[0], (std::string(60, 'n') + "1000").c_str());
  EXPECT_STREQ(found->files[1024], "take2023");
  EXPECT_STREQ(found->dirs[128], "sub99");
}

TEST_F(DirectoryList, DropsOneTrailingSeparator) {
  write("a.wav");

  for (const char* separator : {"\\", "/"}) {
    SCOPED_TRACE(separator);
    const UniqueList found = list(root() + separator);
    EXPECT_EQ(found->path, root());
    EXPECT_EQ(files_of(found), Names{"a.wav"});
  }
}

TEST_F(DirectoryList, TakesNamesOutsideAscii) {
  write("\xC3\xA9\xE6\x97\xA5/\xD0\x96.wav");

  const UniqueList parent = list_root(1);
  const UniqueList found = list(below(directory_, "\xC3\xA9\xE6\x97\xA5"), 1);

  EXPECT_EQ(directories_of(parent), Names{"\xC3\xA9\xE6\x97\xA5"});
  EXPECT_EQ(files_of(found), Names{"\xD0\x96.wav"});
}

TEST_F(DirectoryList, OfAFileIsThatOfItsDirectory) {
  write("sub/a.wav");
  write("sub/b.wav");

  const UniqueList found = list(below(directory_, "sub\\a.wav"), 1);

  EXPECT_EQ(found->path, below(directory_, "sub"));
  EXPECT_EQ(files_of(found), (Names{"a.wav", "b.wav"}));
}

#if defined(_WIN32)  // Elsewhere there are no drives.
TEST_F(DirectoryList, OfADriveIsThatOfItsRoot) {
  const UniqueList root = list("C:\\", 1);
  ASSERT_GT(root->entry_count, 0);

  for (const char* drive : {"C:", "C:\\no such file.wav"}) {
    SCOPED_TRACE(drive);
    const UniqueList found = list(drive, 1);
    EXPECT_STREQ(found->path, "C:");
    EXPECT_EQ(files_of(found), files_of(root));
    EXPECT_EQ(directories_of(found), directories_of(root));
  }
}

TEST_F(DirectoryList, OfNothingIsTheDrives) {
  for (const char* path : {"", "\\"}) {
    SCOPED_TRACE(path);
    const UniqueList drives = list(path);
    ASSERT_TRUE(drives);
    const Names names = directories_of(drives);
    const auto found = std::find(names.begin(), names.end(), "C:\\");
    ASSERT_NE(found, names.end());
    const char* name = drives->dirs[found - names.begin()];
    EXPECT_EQ(std::string_view(name + 4).substr(0, 5), "C:\\ (");
  }
}
#endif

TEST_F(DirectoryList, OfABareNameIsThatOfTheDataPath) {
  const test::ProgramPaths paths;
  test::ProgramPaths::set_data(root());
  write("a.wav");

  for (const char* bare : {"no such file", "xy", "x:y", "\\no such file", "x\\no such file"}) {
    SCOPED_TRACE(bare);
    // A separator before the third byte names no parent.
    const UniqueList found = list(bare);
    EXPECT_EQ(found->path, root());
    EXPECT_EQ(files_of(found), Names{"a.wav"});
  }
}

// Nothing else is shown in place of a drive that is not there.
TEST_F(DirectoryList, OfAMissingDriveIsEmpty) {
  const std::string drive = missing_drive();

  for (const std::string& path : {drive, drive + "\\"}) {
    SCOPED_TRACE(path);
    const UniqueList found = list(path);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->path, drive);
    EXPECT_EQ(found->entry_count, 0);
    EXPECT_EQ(log_.last_line(), "WARN : ERROR: Can't open directory: '" + drive + "'");
  }
}

TEST_F(DirectoryList, OfADirectoryWithANameOfOneLetterDropsItsSeparator) {
  const test::CurrentDirectory current(directory_);
  write("s/a.wav");

  const UniqueList found = list("s\\");

  ASSERT_TRUE(found);
  EXPECT_STREQ(found->path, "s");
  EXPECT_EQ(files_of(found), Names{"a.wav"});
}

TEST_F(DirectoryList, OfAMissingFileIsThatOfAParentOfTwoLetters) {
  const test::CurrentDirectory current(directory_);
  write("up/a.wav");

  const UniqueList found = list("up\\no such file");

  ASSERT_TRUE(found);
  EXPECT_STREQ(found->path, "up");
  EXPECT_EQ(files_of(found), Names{"a.wav"});
}

TEST_F(DirectoryList, TriesOnlyTheNextParent) {
  write("a.wav");
  const std::string missing = below(directory_, "missing");

  const UniqueList found = list(missing + "\\file");

  ASSERT_TRUE(found);
  EXPECT_EQ(found->path, missing);
  EXPECT_EQ(found->entry_count, 0);
  EXPECT_EQ(log_.lines(), Lines{"WARN : ERROR: Can't open directory: '" + missing + "'"});
}

TEST_F(DirectoryList, RefusesALongPath) {
  EXPECT_EQ(flist_new(std::string(258, 'x').c_str(), 0), nullptr);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(DirectoryList, LeavesOutSystemEntriesAndHiddenOnesWithADot) {
  constexpr std::uint32_t kNormal = 0x80;
  struct Case {
    const char* name;
    std::uint32_t attributes;
    bool is_listed;
  };
  const Case cases[] = {
      {".cache", port::kHidden, false},
      {".visible", kNormal, true},
      {"hidden", port::kHidden, true},
      {"system", port::kSystem, false},
      {".system", port::kSystem | port::kHidden, false},
      {"..two dots", kNormal, true},
  };
  for (const Case& c : cases) {
    write(c.name);
    ASSERT_TRUE(port::write_attributes(below(directory_, c.name).c_str(), c.attributes)) << c.name;
  }

  const Names found = files_of(list_root(1));

  for (const Case& c : cases) {
    // Wine may insist on hiding whatever begins with a dot.
    const bool stays_hidden = c.attributes == kNormal && is_hidden(c.name);
    EXPECT_EQ(std::count(found.begin(), found.end(), c.name), c.is_listed && !stays_hidden ? 1 : 0)
        << c.name;
  }
}

TEST_F(DirectoryList, LeavesOutDirectoriesThatBeginWithTwoDots) {
  make_directory("..sub");
  make_directory(".sub");
  make_directory("sub");

  EXPECT_EQ(directories_of(list_root(1)),
            is_hidden(".sub") ? Names{"sub"} : (Names{".sub", "sub"}));
}

TEST_F(DirectoryList, SortsByNumbersInNames) {
  for (const char* name : {"file10.wav", "file9.wav", "File1.wav"}) {
    write(name);
  }
  for (const char* name : {"B", "a", "c10", "c9"}) {
    make_directory(name);
  }

  const UniqueList found = list_root(1);

  EXPECT_EQ(files_of(found), (Names{"File1.wav", "file9.wav", "file10.wav"}));
  EXPECT_EQ(directories_of(found), (Names{"a", "B", "c10", "c9"}));  // Plain order.
}

TEST_F(DirectoryList, UsesPlainOrderAcrossExtensions) {
  write("file9.mov");
  write("file10.wav");

  EXPECT_EQ(files_of(list_root(1)), (Names{"file10.wav", "file9.mov"}));
}

TEST_F(DirectoryList, KeepsDiscoveryOrderOfEntriesWhenNamesAreSorted) {
  for (const char* name : {"c", "a", "b", "e", "d"}) {
    write(name);
  }
  const Names discovered = entries_of(list_root(0));

  const UniqueList found = list_root(1);

  EXPECT_EQ(entries_of(found), discovered);
  EXPECT_EQ(files_of(found), (Names{"a", "b", "c", "d", "e"}));
}

TEST_F(DirectoryList, SortsEntriesByKindTimeAndName) {
  write("new10.wav", 2000000000);
  write("new9.wav", 2000000000);
  write("old.wav", 1000000000);
  make_directory("z");
  const Names discovered = files_of(list_root(0));

  const UniqueList found = list_root(2);

  EXPECT_EQ(entries_of(found), (Names{"z", "old.wav", "new9.wav", "new10.wav"}));
  EXPECT_EQ(files_of(found), discovered);  // Only entries are sorted.
}

TEST_F(DirectoryList, SortsDirectoriesByTimeAndThenWithoutNumbers) {
  char late[] = "a";
  char nine[] = "B9";
  char ten[] = "b10";
  char file[] = "f";
  dir_list_entry entries[] = {{file, 5, 1, 0}, {late, 8, 2, 1}, {nine, 7, 3, 1}, {ten, 7, 4, 1}};
  dir_list made = {};
  made.entries = entries;
  made.entry_count = 4;
  made.file_count = 1;
  made.dir_count = 3;

  flist_sort(&made, 2);

  EXPECT_STREQ(entries[0].name, "b10");
  EXPECT_STREQ(entries[1].name, "B9");
  EXPECT_STREQ(entries[2].name, "a");
  EXPECT_STREQ(entries[3].name, "f");
}

TEST_F(DirectoryList, SortsTwoOfAKindByTime) {
  for (const bool is_directory : {false, true}) {
    SCOPED_TRACE(is_directory);
    char young[] = "a";
    char old[] = "b";
    dir_list_entry entries[] = {{young, 7, 1, is_directory}, {old, 5, 1, is_directory}};
    dir_list made = {};
    made.entries = entries;
    made.entry_count = 2;
    (is_directory ? made.dir_count : made.file_count) = 2;

    flist_sort(&made, 2);

    EXPECT_STREQ(entries[0].name, "b");
    EXPECT_STREQ(entries[1].name, "a");
  }
}

TEST_F(DirectoryList, KeepsOneFileBesideOneDirectoryAsFound) {
  char file[] = "a.wav";
  char directory[] = "sub";
  dir_list_entry entries[] = {{file, 5, 5, 0}, {directory, 7, 4, 1}};
  dir_list made = {};
  made.entries = entries;
  made.entry_count = 2;
  made.file_count = 1;
  made.dir_count = 1;

  flist_sort(&made, 2);

  EXPECT_EQ(entries[0].is_directory, 0);

  write("a.wav");
  make_directory("sub");
  EXPECT_EQ(entries_of(list_root(2)), entries_of(list_root(0)));
}

TEST_F(DirectoryList, SortsAnyOtherModeByTime) {
  write("new.wav", 2000000000);
  write("old.wav", 1000000000);

  EXPECT_EQ(entries_of(list_root(-1)), (Names{"old.wav", "new.wav"}));
  EXPECT_EQ(entries_of(list_root(7)), (Names{"old.wav", "new.wav"}));
}

TEST_F(DirectoryList, SortsAndDeletesNoList) {
  flist_sort(nullptr, 1);
  flist_delete(nullptr);

  EXPECT_EQ(log_.lines(), Lines{});
}

}  // namespace
}  // namespace orsin
