// The list of drives of machines that a test makes up.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "files/directory_list.h"
#include "orsincore/files.h"
#include "tests/platform/fake_drives.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using port::DriveKind;
using test::Lines;

using NamesAndLabels = std::vector<std::pair<std::string, std::string>>;

NamesAndLabels drives_of(const UniqueList& list) {
  NamesAndLabels drives;
  for (int i = 0; list && i < list->dir_count; ++i) {
    const char* name = list->dirs[i];
    drives.emplace_back(name, name + std::strlen(name) + 1);
  }
  return drives;
}

class DriveList : public testing::Test {
 protected:
  DriveList() { test::fake_drives() = {}; }
  ~DriveList() override { test::fake_drives() = {}; }

  static void add(char letter, DriveKind kind, const char* name = "") {
    test::fake_drives().drives.push_back({letter, kind, name});
  }
  static UniqueList list(bool name_is_label = false) {
    return UniqueList(flist_mountp(name_is_label));
  }

  test::LogCapture log_{4};
};

TEST_F(DriveList, LabelsEachKindOfDrive) {
  add('A', DriveKind::kRemovable);
  add('B', DriveKind::kMissing);
  add('C', DriveKind::kFixed, "System");
  add('D', DriveKind::kFixed);
  add('E', DriveKind::kDisc);
  add('N', DriveKind::kRemote, "\\\\server\\media");
  add('O', DriveKind::kRemote);
  add('R', DriveKind::kMemory);
  add('U', DriveKind::kUnknown);

  const UniqueList drives = list();

  EXPECT_EQ(drives_of(drives), (NamesAndLabels{{"A:\\", "A:\\ (Removable Disk)"},
                                               {"C:\\", "C:\\ (System)"},
                                               {"D:\\", "D:\\ (Local Disk)"},
                                               {"E:\\", "E:\\ (CD/DVD Drive)"},
                                               {"N:\\", "N:\\ (\\\\server\\media)"},
                                               {"O:\\", ""},
                                               {"R:\\", ""},
                                               {"U:\\", ""}}));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(DriveList, PutsTheRemoteNameIntoTheNameOnRequest) {
  add('C', DriveKind::kFixed, "System");
  add('N', DriveKind::kRemote, "\\\\server\\media");
  add('O', DriveKind::kRemote);

  const UniqueList drives = list(true);

  EXPECT_EQ(
      drives_of(drives),
      (NamesAndLabels{{"C:\\", "C:\\ (System)"}, {"N:\\ (\\\\server\\media)", ""}, {"O:\\", ""}}));
}

TEST_F(DriveList, StoresDrivesAsDirectoriesWithoutATime) {
  add('C', DriveKind::kFixed, "System");

  const UniqueList drives = list();

  ASSERT_TRUE(drives);
  EXPECT_STREQ(drives->path, "");
  EXPECT_EQ(drives->dir_count, 1);
  EXPECT_EQ(drives->dir_capacity, 128);
  EXPECT_EQ(drives->file_count, 0);
  ASSERT_EQ(drives->entry_count, 1);
  EXPECT_EQ(drives->entries[0].name, drives->dirs[0]);
  EXPECT_EQ(drives->entries[0].is_directory, 1);
  EXPECT_EQ(drives->entries[0].write_time, 0U);
  // The name, its terminator and the label.
  EXPECT_EQ(drives->entries[0].stored_length,
            std::strlen("C:\\") + 1 + std::strlen("C:\\ (System)"));
}

TEST_F(DriveList, CutsALabelThatIsTooLong) {
  const std::string name(300, 'x');
  add('C', DriveKind::kFixed, name.c_str());

  const UniqueList drives = list();

  ASSERT_TRUE(drives);
  EXPECT_EQ(drives_of(drives)[0].second, "C:\\ (" + std::string(254, 'x'));
}

TEST_F(DriveList, ShowsTheLongestNameThatFitsWhole) {
  const std::string name(253, 'x');  // 259 units with what stands around it.
  add('C', DriveKind::kFixed, name.c_str());
  add('D', DriveKind::kFixed, "y");

  const UniqueList drives = list();

  EXPECT_EQ(drives_of(drives),
            (NamesAndLabels{{"C:\\", "C:\\ (" + name + ")"}, {"D:\\", "D:\\ (y)"}}));
}

TEST_F(DriveList, AsksAgainWhenTheRootsNeedMoreRoom) {
  add('C', DriveKind::kFixed, "System");
  test::fake_drives().padding_units = 400;

  EXPECT_EQ(drives_of(list()), (NamesAndLabels{{"C:\\", "C:\\ (System)"}}));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(DriveList, AsksAgainForAsMuchAsTheRootsNeed) {
  add('C', DriveKind::kFixed, "System");
  test::fake_drives().padding_units = 400;
  test::fake_drives().after_roots = [] { ++test::fake_drives().padding_units; };

  EXPECT_EQ(drives_of(list()), (NamesAndLabels{{"C:\\", "C:\\ (System)"}}));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(DriveList, IsBuiltFromTheMaskWhenTheRootsChangeBetweenTheQuestions) {
  struct Case {
    const char* what;
    void (*change)();
  };
  const Case cases[] = {
      {"more of them", [] { test::fake_drives().padding_units += 100; }},
      {"they fail", [] { test::fake_drives().roots_fail = true; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    test::fake_drives() = {};
    add('C', DriveKind::kFixed, "System");
    test::fake_drives().padding_units = 400;
    test::fake_drives().after_roots = c.change;

    EXPECT_EQ(drives_of(list()), (NamesAndLabels{{"C:\\", "C:\\ (System)"}}));

    EXPECT_NE(log_.last_line().find("Drive list 1"), std::string::npos);
  }
}

TEST_F(DriveList, HasRoomForADriveOfEachLetter) {
  for (char letter = 'A'; letter <= 'Z'; ++letter) {
    add(letter, DriveKind::kMemory);
  }
  const NamesAndLabels from_roots = drives_of(list());
  test::fake_drives().roots_fail = true;

  const NamesAndLabels from_mask = drives_of(list());

  ASSERT_EQ(from_roots.size(), 26U);
  EXPECT_EQ(from_roots[25].first, "Z:\\");
  EXPECT_EQ(from_mask, from_roots);
}

TEST_F(DriveList, IsBuiltFromTheMaskWhenTheRootsFail) {
  add('A', DriveKind::kRemovable);
  add('Z', DriveKind::kFixed, "Last");
  test::fake_drives().roots_fail = true;

  const UniqueList drives = list();

  EXPECT_EQ(drives_of(drives),
            (NamesAndLabels{{"A:\\", "A:\\ (Removable Disk)"}, {"Z:\\", "Z:\\ (Last)"}}));
  ASSERT_FALSE(log_.lines().empty());
  EXPECT_NE(log_.lines()[0].find("Drive list 1"), std::string::npos);
}

TEST_F(DriveList, IsNullWithoutDrives) {
  test::fake_drives().roots_fail = true;

  EXPECT_EQ(flist_mountp(false), nullptr);
  EXPECT_EQ(flist_new("", 1), nullptr);
  EXPECT_EQ(flist_new("\\", 1), nullptr);

  EXPECT_NE(log_.text().find("Drive list 1"), std::string::npos);
  EXPECT_NE(log_.text().find("Drive list 2"), std::string::npos);
}

TEST_F(DriveList, IsGivenForAnEmptyPathAndALoneBackslash) {
  add('C', DriveKind::kFixed, "System");
  add('N', DriveKind::kRemote, "\\\\server\\media");
  const NamesAndLabels expected = {{"C:\\", "C:\\ (System)"}, {"N:\\", "N:\\ (\\\\server\\media)"}};

  EXPECT_EQ(drives_of(UniqueList(flist_new("", 0))), expected);
  EXPECT_EQ(drives_of(UniqueList(flist_new("\\", 0))), expected);
}

}  // namespace
}  // namespace orsin
