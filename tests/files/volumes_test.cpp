// What the system says about volumes and drives, and what is remembered of it.
#include <gtest/gtest.h>

#include <string>

#include "files/volumes.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

constexpr char kNoSuchVolume[] = "";

TEST(DriveSectorSize, IsTheDefaultForAPathWithoutADriveLetter) {
  const test::LogCapture log;
  const char* const paths[] = {"\\\\server\\share\\take.mov", "take.mov", "1:\\take.mov", ""};

  for (const char* path : paths) {
    SCOPED_TRACE(path);
    EXPECT_EQ(drive_sector_size(path), 8192);
  }

  EXPECT_TRUE(log.lines().empty());
}

TEST(DriveSectorSize, FollowsTheConfiguredDefault) {
  rwBufferConfigure(4096, false, false, false);
  const long long configured = drive_sector_size("take.mov");
  rwBufferConfigure(0, false, false, false);

  EXPECT_EQ(configured, 4096);
  EXPECT_EQ(drive_sector_size("take.mov"), 8192);
}

TEST(DriveSectorSize, AsksADriveOnceWhateverTheLettersCase) {
  forget_sector_sizes();
  const long long first = drive_sector_size("C:\\take.mov");
  const test::LogCapture log;

  const long long second = drive_sector_size("c:\\other.mov");

  EXPECT_GT(first, 0);
  EXPECT_EQ(second, first);
  EXPECT_TRUE(log.lines().empty());
}

TEST(FreeSpace, IsThatOfTheVolumeAndZeroWithoutOne) {
  EXPECT_GT(ov_freespace("C:\\"), 0U);
  EXPECT_EQ(ov_freespace("C:\\no such directory\\at all"), 0U);
}

TEST(VolumePath, IsTheMountPoint) {
  char mount_point[261] = {};

  EXPECT_TRUE(ov_get_volumepath("C:\\windows", mount_point, sizeof(mount_point)));

  EXPECT_STREQ(mount_point, "C:\\");
}

TEST(VolumeInformation, SaysThatThereIsNoMountPoint) {
  const test::LogCapture log;
  unsigned int extents = 7;
  unsigned int cluster = 7;

  EXPECT_FALSE(ov_get_volumeinfo(kNoSuchVolume, extents, cluster));

  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_NE(log.lines()[0].find("Failed to find mount point for path ''"), std::string::npos);
  EXPECT_EQ(extents, 7U);
  EXPECT_EQ(cluster, 7U);
}

TEST(LocalPath, IsTrueForAFixedDiskOnly) {
  EXPECT_TRUE(ov_localpath("C:\\"));
  EXPECT_TRUE(ov_localpath("C:\\windows"));
  EXPECT_FALSE(ov_localpath("\\\\no such server\\share\\"));
}

}  // namespace
}  // namespace orsin
