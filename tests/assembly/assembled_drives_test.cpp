// Drives and volumes as the system has them; made-up ones are in tests/files.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "orsincore/files.h"

namespace orsin {
namespace {

struct DeleteList {
  void operator()(dir_list* list) const { flist_delete(list); }
};
using UniqueList = std::unique_ptr<dir_list, DeleteList>;

// The label of a drive in the list: it stands behind the name's terminator. Empty without the drive.
std::string label_of(const dir_list* list, const char* drive) {
  for (int i = 0; list != nullptr && i < list->dir_count; ++i) {
    if (std::strcmp(list->dirs[i], drive) == 0) {
      return list->dirs[i] + std::strlen(list->dirs[i]) + 1;
    }
  }
  return {};
}

TEST(AssembledDrives, AreListedWithALabel) {
  for (const bool name_is_label : {false, true}) {
    SCOPED_TRACE(name_is_label);
    const UniqueList drives(flist_mountp(name_is_label));

    const std::string label = label_of(drives.get(), "C:\\");

    EXPECT_TRUE(label.starts_with("C:\\ (") && label.ends_with(")")) << label;
  }
}

TEST(AssembledDrives, AreWhatAnEmptyPathLists) {
  const UniqueList drives(flist_new("", 0));

  EXPECT_NE(label_of(drives.get(), "C:\\"), "");
}

TEST(AssembledDrives, TheSystemsOwnIsFixed) {
  EXPECT_EQ(is_removable_drive("C:\\windows"), 0);
  EXPECT_EQ(is_remote_network_drive("C:\\windows"), 0);
  EXPECT_TRUE(ov_localpath("C:\\windows"));
}

TEST(AssembledDrives, TellTheSizeOfTheirClusters) {
  unsigned int extents = 77;
  unsigned int cluster = 77;

  const bool has_extents = ov_get_volumeinfo("C:\\windows", extents, cluster);

  // Wine does not tell on how many disks a volume lies, which is a failure; Windows does.
  EXPECT_EQ(has_extents, extents != 0);
  EXPECT_GT(cluster, 0u);
  EXPECT_EQ(cluster % 512, 0u);
}

}  // namespace
}  // namespace orsin
