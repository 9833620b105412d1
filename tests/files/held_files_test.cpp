// Files that somebody has open, or has marked: who asks meanwhile is refused, and nothing is lost.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_fixture.h"
#include "tests/files/io_start.h"
#include "tests/files/known_drive.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::copy_file;
using test::copy_secure;
using test::CopyCall;
using test::Lines;
using test::OpenFile;
using test::random_content;
using test::TemporaryDirectory;

constexpr int kReading = 0;
constexpr int kWriting = 1;

// Others may read it meanwhile.
OpenFile hold(const std::string& path, int access) {
  return OpenFile(io_open64(path.c_str(), access, false, true, false));
}

class HeldFiles : public testing::Test {
 protected:
  HeldFiles() { directory_.write("source.bin", content_); }

  std::string source() const { return below(directory_, "source.bin"); }
  std::string destination() const { return below(directory_, "copy.bin"); }

  const std::string content_ = random_content(300000);
  TemporaryDirectory directory_;
  test::IoStart io_;
  test::KnownDrive known_drive_{directory_.path()};
  test::LogCapture log_;
};

TEST_F(HeldFiles, AreReadByOthersButNotWrittenWhereThatIsLeftToThem) {
  const OpenFile reader = hold(source(), kReading);

  EXPECT_TRUE(hold(source(), kReading).is_open());
  EXPECT_FALSE(hold(source(), kWriting).is_open());
}

TEST_F(HeldFiles, AreNobodyElsesWhereNothingIsLeftToOthers) {
  const OpenFile owner(io_open64(source().c_str(), kReading, false, false, false));

  EXPECT_FALSE(hold(source(), kReading).is_open());
}

TEST_F(HeldFiles, AreFreeAgainOnceTheyAreClosed) {
  OpenFile writer = hold(source(), kWriting);
  writer.close();

  EXPECT_TRUE(hold(source(), kWriting).is_open());
}

TEST_F(HeldFiles, AreNeitherDeletedNorMoved) {
  const OpenFile reader = hold(source(), kReading);

  EXPECT_EQ(file_delete(source().c_str()), -1);
  EXPECT_LT(file_move(source().c_str(), destination().c_str(), true), 0);

  EXPECT_TRUE(TemporaryDirectory::read(directory_.path("source.bin")) == content_);
}

TEST_F(HeldFiles, KeepTheDirectoryThatTheyAreIn) {
  directory_.write("tree/held.bin", "held");
  const OpenFile holder = hold(below(directory_, "tree\\held.bin"), kReading);
  ASSERT_TRUE(holder.is_open());

  EXPECT_EQ(file_delete_directory(below(directory_, "tree").c_str(), true), -1);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("tree/held.bin")), "held");
}

// In the order of their names, whatever order the system lists them in.
TEST_F(HeldFiles, EndTheDeletionOfADirectoryWhereTheyStand) {
  for (int i = 10; i < 40; ++i) {
    directory_.write("tree/f" + std::to_string(i), "");
  }
  const OpenFile held = hold(below(directory_, "tree\\f25"), kReading);

  EXPECT_EQ(file_delete_directory(below(directory_, "tree").c_str(), true), -1);

  for (int i = 10; i < 40; ++i) {
    const std::string name = "tree/f" + std::to_string(i);
    EXPECT_EQ(std::filesystem::exists(test::to_path(directory_.path(name))), i >= 25) << name;
  }
}

TEST_F(HeldFiles, KeepTheirPlaceAmongTheGenerations) {
  directory_.write("app.log", "now");
  directory_.write("app.1.log", "one");
  const OpenFile holder = hold(below(directory_, "app.1.log"), kReading);
  ASSERT_TRUE(holder.is_open());

  EXPECT_EQ(file_backup(below(directory_, "app.log").c_str(), 1), 1);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("app.log")), "now");
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("app.1.log")), "one");
  const Lines lines = log_.lines();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0].rfind("ERROR: F-BK: Failed to remove...(", 0), 0U);
  EXPECT_EQ(lines[1], "     : File: '" + below(directory_, "app.1.log") + "'");
  EXPECT_EQ(lines[2].rfind("ERROR: F-BK: Failed to rename...(", 0), 0U);
  EXPECT_EQ(lines[3], "     : File: '" + below(directory_, "app.log") + "'");
}

TEST_F(HeldFiles, KeepTheirTime) {
  ASSERT_TRUE(file_set_modified_ts(source().c_str(), 1706704496));
  const OpenFile reader = hold(source(), kReading);

  EXPECT_FALSE(port::write_write_time(source().c_str(), 0));

  EXPECT_EQ(file_get_modified_ts(source().c_str()), 1706704496U);
}

TEST_F(HeldFiles, AreNoDirectories) {
  EXPECT_FALSE(hold(directory_.path(), kReading).is_open());
}

TEST_F(HeldFiles, AreNotWrittenOverWhereTheyAreMarkedReadOnly) {
  directory_.write("copy.bin", "old");
  ASSERT_TRUE(port::write_attributes(destination().c_str(), port::kReadOnly));

  EXPECT_EQ(copy_file(source(), {destination()}), -2);
  EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to create '" + destination() + "'");
  EXPECT_EQ(copy_secure(source(), destination()), -2);
  unsigned long long bytes = 0;
  EXPECT_EQ(ov_filecopy(source().c_str(), destination().c_str(), false, bytes), -2);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
  EXPECT_TRUE(port::write_attributes(destination().c_str(), 0));
}

TEST_F(HeldFiles, AreNotWrittenOver) {
  directory_.write("copy.bin", "old");
  const OpenFile holder = hold(destination(), kReading);
  ASSERT_TRUE(holder.is_open());

  EXPECT_EQ(copy_file(source(), {destination()}), -2);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
}

TEST_F(HeldFiles, AreNotCopiedWhileSomebodyWritesThem) {
  const OpenFile writer = hold(source(), kWriting);
  ASSERT_TRUE(writer.is_open());

  EXPECT_EQ(copy_file(source(), {destination()}), -1);

  EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to open '" + source() + "'");
  EXPECT_EQ(file_exists(destination().c_str()), 0);
}

TEST_F(HeldFiles, AreLeftToOthersForReadingAloneWhileTheyAreCopied) {
  int looks = 0;
  CopyCall call{.source = source(),
                .destinations = {destination()},
                .on_block = [this, &looks](bool /*is_end*/) {
                  ++looks;
                  EXPECT_TRUE(hold(source(), kReading).is_open());
                  EXPECT_FALSE(hold(source(), kWriting).is_open());
                  EXPECT_EQ(file_delete(source().c_str()), -1);
                }};

  EXPECT_EQ(call.run(), 0);

  EXPECT_GE(looks, 2);
  EXPECT_TRUE(TemporaryDirectory::read(directory_.path("copy.bin")) == content_);
}

TEST_F(HeldFiles, AreCopiedWithTheirTimeWhileOthersRead) {
  ASSERT_TRUE(file_set_modified_ts(source().c_str(), 1706704496));
  const OpenFile other = hold(source(), kReading);
  ASSERT_TRUE(other.is_open());

  EXPECT_EQ(copy_file(source(), {destination()}), 0);

  EXPECT_EQ(file_get_modified_ts(destination().c_str()), 1706704496U);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(HeldFiles, LoseTheirTimeInASecureCopyWhileOthersRead) {
  const OpenFile other = hold(source(), kReading);
  ASSERT_TRUE(other.is_open());

  EXPECT_EQ(copy_secure(source(), destination()), 0);

  EXPECT_EQ(log_.lines(),
            Lines{"WARN : File Copy: failed to retrieve the file times '" + source() + "'"});
  EXPECT_TRUE(TemporaryDirectory::read(directory_.path("copy.bin")) == content_);
}

}  // namespace
}  // namespace orsin
