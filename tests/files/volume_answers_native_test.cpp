// What becomes of every answer that the system may give about a volume.
#include <gtest/gtest.h>

#include <string>

#include "files/volumes.h"
#include "orsincore/files.h"
#include "tests/platform/native/fake_volumes.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using port::DriveKind;
using test::Lines;

class VolumeAnswers : public testing::Test {
 protected:
  VolumeAnswers() {
    test::fake_volumes() = {};
    forget_sector_sizes();
  }
  ~VolumeAnswers() override {
    EXPECT_EQ(test::fake_volumes().devices_open, 0);
    test::fake_volumes() = {};
    forget_sector_sizes();
  }

  static test::FakeVolume& drive(char letter) { return test::fake_volumes().by_letter[letter]; }

  test::LogCapture log_;
};

TEST_F(VolumeAnswers, GiveThePhysicalSectorSize) {
  drive('C').sectors = {512, 4096};

  EXPECT_EQ(drive_sector_size("C:\\take.mov"), 4096);
}

TEST_F(VolumeAnswers, KeepTheLogicalSizeInTheLineAboutThePhysicalOne) {
  drive('C').sectors = {512, 4096};

  drive_sector_size("C:\\take.mov");

  EXPECT_EQ(log_.lines(),
            (Lines{"INFO : IO: Logical sector size for drive \\\\.\\C: = 512 bytes",
                   "     :   : Physical sector size for drive \\\\.\\C: = 512 bytes"}));
}

TEST_F(VolumeAnswers, AreRememberedForEachDriveLetterInEitherCase) {
  drive('C').sectors = {512, 4096};
  drive('Z').sectors = {512, 2048};
  EXPECT_EQ(drive_sector_size("C:\\take.mov"), 4096);
  EXPECT_EQ(drive_sector_size("z:\\take.mov"), 2048);
  const Lines first = log_.lines();

  EXPECT_EQ(drive_sector_size("c:\\other.mov"), 4096);
  EXPECT_EQ(drive_sector_size("Z:"), 2048);

  EXPECT_EQ(log_.lines(), first);
  EXPECT_EQ(test::fake_volumes().devices_opened, 2);
}

TEST_F(VolumeAnswers, AreThoseOfTheTwentySixLettersOnly) {
  for (const char letter : {'A', 'Z'}) {
    drive(letter).sectors = {512, 4096};
    const char lower = static_cast<char>(letter - 'A' + 'a');
    EXPECT_EQ(drive_sector_size((std::string(1, letter) + ":\\take.mov").c_str()), 4096);
    EXPECT_EQ(drive_sector_size((std::string(1, lower) + ":\\take.mov").c_str()), 4096);
  }
  const Lines asked = log_.lines();
  EXPECT_EQ(test::fake_volumes().devices_opened, 2);

  // The neighbours of the letters, and what has no colon in its place.
  for (const char* path :
       {"@:\\", "[:\\", "`:\\", "{:\\", "1:\\", "\x80:\\", "A", "A\\:", "", ":"}) {
    SCOPED_TRACE(path);
    EXPECT_EQ(drive_sector_size(path), 8192);
  }
  EXPECT_EQ(log_.lines(), asked);
}

TEST_F(VolumeAnswers, FallBackToTheFileSystemsSectorsWhenTheDeviceDoesNotOpen) {
  drive('D').has_device = false;
  drive('D').error = 5;
  drive('D').clusters = {8, 1024};

  EXPECT_EQ(drive_sector_size("D:\\take.mov"), 1024);

  EXPECT_EQ(log_.lines(),
            (Lines{"WARN : IO: Failed to open drive to query sector size: \\\\.\\D: (5)",
                   "INFO : IO: Sector size for drive D:\\ = 1024 bytes"}));
}

TEST_F(VolumeAnswers, FallBackToTheFileSystemsSectorsWhenTheDeviceDoesNotAnswer) {
  drive('D').tells_sectors = false;
  drive('D').error = 50;

  EXPECT_EQ(drive_sector_size("D:\\take.mov"), 512);

  EXPECT_EQ(log_.lines(), (Lines{"WARN : IO: Failed to query sector size for drive: \\\\.\\D: (50)",
                                 "INFO : IO: Sector size for drive D:\\ = 512 bytes"}));
}

TEST_F(VolumeAnswers, FallBackToTheFileSystemsSectorsWhenTheDeviceKnowsNoPhysicalOnes) {
  drive('D').sectors = {2048, 0};

  EXPECT_EQ(drive_sector_size("D:\\take.mov"), 512);

  EXPECT_EQ(log_.lines(), (Lines{"INFO : IO: Logical sector size for drive \\\\.\\D: = 2048 bytes",
                                 "     :   : Physical sector size for drive \\\\.\\D: = 2048 bytes",
                                 "INFO : IO: Sector size for drive D:\\ = 512 bytes"}));
}

TEST_F(VolumeAnswers, AreTakenAsTheyAreHoweverSmall) {
  drive('D').sectors = {1, 1};

  EXPECT_EQ(drive_sector_size("D:\\take.mov"), 1);
  EXPECT_EQ(drive_sector_size("D:\\take.mov"), 1);
}

TEST_F(VolumeAnswers, LeaveTheDefaultForADriveThatTellsNothingAndAskItOnlyOnce) {
  drive('E').has_device = false;
  drive('E').tells_clusters = false;
  EXPECT_EQ(drive_sector_size("E:\\take.mov"), 8192);
  const Lines first = log_.lines();
  ASSERT_EQ(first.size(), 2U);
  EXPECT_EQ(first[1], "WARN : IO: Sector size failed for 'E:\\'");

  EXPECT_EQ(drive_sector_size("e:\\take.mov"), 8192);

  EXPECT_EQ(log_.lines(), first);
}

TEST_F(VolumeAnswers, TellExtentsAndClusterOfAFixedDisk) {
  drive('C').clusters = {8, 512};
  drive('C').extents = 3;
  unsigned int extents = 0;
  unsigned int cluster = 0;

  EXPECT_TRUE(ov_get_volumeinfo("C:\\media\\take.mov", extents, cluster));

  EXPECT_EQ(extents, 3U);
  EXPECT_EQ(cluster, 4096U);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(VolumeAnswers, TellTheExtentsOfTheFirstAndTheLastDrive) {
  for (const char letter : {'A', 'Z'}) {
    drive(letter).extents = 2;
    unsigned int extents = 0;
    unsigned int cluster = 0;

    EXPECT_TRUE(
        ov_get_volumeinfo((std::string(1, letter) + ":\\take.mov").c_str(), extents, cluster));

    EXPECT_EQ(extents, 2U);
  }
}

TEST_F(VolumeAnswers, TellNoExtentsOfAVolumeWithoutALetter) {
  drive('C').mount_point = "\\\\?\\Volume{76d1fd3a-0000-0000-0000-100000000000}\\";
  drive('C').extents = 2;
  unsigned int extents = 7;
  unsigned int cluster = 7;

  EXPECT_FALSE(ov_get_volumeinfo("C:\\take.mov", extents, cluster));

  EXPECT_EQ(extents, 0U);
  EXPECT_EQ(cluster, 4096U);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(VolumeAnswers, WarnAboutADriveThatIsNotFixed) {
  drive('E').kind = DriveKind::kRemovable;
  unsigned int extents = 7;
  unsigned int cluster = 7;

  EXPECT_FALSE(ov_get_volumeinfo("E:\\take.mov", extents, cluster));

  EXPECT_EQ(log_.lines(), Lines{"WARN : Failed to get valid drive type for mount point 'E:\\'"});
  EXPECT_EQ(extents, 7U);
  EXPECT_EQ(cluster, 7U);
}

TEST_F(VolumeAnswers, MaySetTheClusterWithoutExtents) {
  struct Case {
    const char* what;
    void (*spoil)(test::FakeVolume&);
  };
  const Case cases[] = {
      {"no device", [](test::FakeVolume& volume) { volume.has_device = false; }},
      {"no answer", [](test::FakeVolume& volume) { volume.tells_extents = false; }},
      {"no extents", [](test::FakeVolume& volume) { volume.extents = 0; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    drive('C') = {};
    c.spoil(drive('C'));
    unsigned int extents = 7;
    unsigned int cluster = 7;

    EXPECT_FALSE(ov_get_volumeinfo("C:\\take.mov", extents, cluster));

    EXPECT_EQ(extents, 0U);
    EXPECT_EQ(cluster, 4096U);
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(VolumeAnswers, GiveExtentsEvenWhereTheClusterIsUnknown) {
  drive('C').tells_clusters = false;
  unsigned int extents = 7;
  unsigned int cluster = 7;

  EXPECT_TRUE(ov_get_volumeinfo("C:\\take.mov", extents, cluster));

  EXPECT_EQ(extents, 1U);
  EXPECT_EQ(cluster, 0U);
}

TEST_F(VolumeAnswers, GiveTheVolumePath) {
  drive('C') = {};
  char out[16] = {};

  EXPECT_TRUE(ov_get_volumepath("C:\\media\\take.mov", out, sizeof(out)));

  EXPECT_STREQ(out, "C:\\");
}

TEST_F(VolumeAnswers, SayWhyThereIsNoVolumePath) {
  char out[261] = "untouched";

  EXPECT_FALSE(ov_get_volumepath("Q:\\take.mov", out, sizeof(out)));

  EXPECT_EQ(log_.lines(), Lines{"WARN :  Failed to get volume path 'Q:\\take.mov' (3)"});
}

TEST_F(VolumeAnswers, CountAsLocalForFixedDisksOnly) {
  struct Case {
    DriveKind kind;
    bool is_local;
  };
  const Case cases[] = {
      {DriveKind::kFixed, true},    {DriveKind::kRemovable, false}, {DriveKind::kRemote, false},
      {DriveKind::kDisc, false},    {DriveKind::kMemory, false},    {DriveKind::kUnknown, false},
      {DriveKind::kMissing, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.kind));
    drive('D').kind = c.kind;

    EXPECT_EQ(ov_localpath("D:\\"), c.is_local);
    EXPECT_EQ(ov_localpath("D:\\media\\take.mov"), c.is_local);  // By its mount point.
  }
  EXPECT_FALSE(ov_localpath("\\\\server\\share\\take.mov"));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(VolumeAnswers, TellRemovableFromNetworkDrives) {
  drive('R').kind = DriveKind::kRemovable;
  drive('N').kind = DriveKind::kRemote;
  drive('C').kind = DriveKind::kFixed;

  EXPECT_EQ(is_removable_drive("R:\\take.mov"), 1);
  EXPECT_EQ(is_remote_network_drive("R:\\take.mov"), 0);
  EXPECT_EQ(is_removable_drive("N:\\take.mov"), 0);
  EXPECT_EQ(is_remote_network_drive("N:\\take.mov"), 1);
  EXPECT_EQ(is_removable_drive("C:\\take.mov"), 0);
  EXPECT_EQ(is_remote_network_drive("C:\\take.mov"), 0);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(VolumeAnswers, WarnWhenThePathHasNoMountPoint) {
  EXPECT_EQ(is_removable_drive("Q:\\take.mov"), 0);
  EXPECT_EQ(log_.lines(), Lines{"WARN : Failed to find mount point for path 'Q:\\take.mov'"});

  EXPECT_EQ(is_remote_network_drive("Q:\\other.mov"), 0);
  EXPECT_EQ(log_.lines()[1], "WARN : Failed to find mount point for path 'Q:\\other.mov'");

  unsigned int extents = 7;
  unsigned int cluster = 7;
  EXPECT_FALSE(ov_get_volumeinfo("Q:\\third.mov", extents, cluster));
  ASSERT_EQ(log_.lines().size(), 3U);
  EXPECT_EQ(log_.lines()[2], "WARN : Failed to find mount point for path 'Q:\\third.mov'");
  EXPECT_EQ(extents, 7U);
}

TEST_F(VolumeAnswers, GiveTheFreeBytesOfTheVolume) {
  drive('C').free_bytes = 5'000'000'000'000;

  EXPECT_EQ(ov_freespace("C:\\media"), 5'000'000'000'000U);
  EXPECT_EQ(ov_freespace("Q:\\media"), 0U);
}

}  // namespace
}  // namespace orsin
