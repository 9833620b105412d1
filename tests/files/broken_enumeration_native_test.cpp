// Directories that cannot be read, or not to their end, as over a network that goes away.
#include <gtest/gtest.h>

#include <string>

#include "files/directory_list.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/io_start.h"
#include "tests/platform/native/fake_enumeration.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::Lines;
using test::TemporaryDirectory;

class BrokenEnumeration : public testing::Test {
 protected:
  BrokenEnumeration() {
    directory_.write("tree/a.bin", "1");
    directory_.write("tree/sub/b.bin", "22");
    directory_.write("tree/sub/c.bin", "333");
    directory_.write("tree/z/d.bin", "4444");
  }
  int copy() {
    return ov_filecopy(tree().c_str(), below(directory_, "copy").c_str(), true, bytes_);
  }
  [[nodiscard]] std::string tree(const char* name = "") const {
    return below(directory_, std::string("tree") + name);
  }
  [[nodiscard]] std::string warning_about_sub() const {
    return "WARN : ERROR: Can't read on in directory: '" + tree("\\sub") + "' (error 64)";
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::EnumerationScope enumeration_;
  test::LogCapture log_;
  unsigned long long bytes_ = 0;
};

TEST_F(BrokenEnumeration, FailsATreeCopyAndNamesTheDirectory) {
  enumeration_->breaks_off_at = "b.bin";

  EXPECT_EQ(copy(), -1);

  EXPECT_EQ(log_.lines(),
            (Lines{warning_about_sub(), "ERROR: FileCopy: '" + tree("\\sub") +
                                            "' was not listed to its end, not copied"}));
}

TEST_F(BrokenEnumeration, LeavesAListShortAfterAWarning) {
  enumeration_->breaks_off_at = "b.bin";

  const UniqueList list(flist_new(tree("\\sub").c_str(), 1));

  ASSERT_TRUE(list);
  EXPECT_LT(list->file_count, 2);
  EXPECT_EQ(log_.lines(), Lines{warning_about_sub()});
}

TEST_F(BrokenEnumeration, LeavesASearchShortAfterAWarning) {
  enumeration_->breaks_off_at = "b.bin";

  const UniqueList none(flist_findfiles(tree().c_str(), "b.bin", true, 0));

  EXPECT_FALSE(none);
  EXPECT_EQ(log_.lines(), Lines{warning_about_sub()});
}

TEST_F(BrokenEnumeration, KeepsCountingASubdirectoryThatCannotBeListedAsEmpty) {
  enumeration_->refuses = "sub";

  EXPECT_EQ(copy(), 2);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy/z/d.bin")), "4444");
  EXPECT_EQ(log_.lines(),
            (Lines{"WARN : ERROR: Can't open directory: '" + tree("\\sub") + "'",
                   "ERROR: FileCopy: '" + tree("\\sub") + "' cannot be listed, not copied"}));
}

TEST_F(BrokenEnumeration, KeepsCountingASubdirectoryThatCannotBeMadeAsEmpty) {
  directory_.write("copy/sub", "a file in the way");

  EXPECT_EQ(copy(), 2);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy/z/d.bin")), "4444");
  const Lines lines = log_.lines();
  ASSERT_EQ(lines.size(), 2U) << log_.text();
  EXPECT_TRUE(lines[0].starts_with("ERROR: Error creating directory " +
                                   below(directory_, "copy\\sub") + " : "));
  EXPECT_EQ(lines[1],
            "ERROR: FileCopy: '" + tree("\\sub") + "' has no directory to go to, not copied");
}

TEST_F(BrokenEnumeration, IsToldFromARootWithoutEntries) {
  enumeration_->refuses = "sub";
  enumeration_->error = 2;  // What a drive says that has no entries at all.

  const UniqueList list(flist_new(tree("\\sub").c_str(), 1));

  ASSERT_TRUE(list);
  EXPECT_EQ(list->entry_count, 0);
  EXPECT_EQ(log_.lines(), Lines{});
}

}  // namespace
}  // namespace orsin
