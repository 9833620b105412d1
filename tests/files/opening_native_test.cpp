// Opening, creating and sizing files on a scripted platform.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orsincore/io.h"
#include "orsincore/log.h"
#include "tests/files/io_fixture.h"
#include "tests/platform/native/fake_transfers.h"

namespace orsin {
namespace {

using test::Lines;
using test::OpenFile;

constexpr std::uint32_t kDiskFull = 112;

class ScriptedFiles : public test::IoTest {
 protected:
  test::FakeTransfers transfers_;
};

TEST_F(ScriptedFiles, TheModeDecidesTheAccess) {
  struct Case {
    int mode;
    bool read;
    bool write;
  };
  const Case cases[] = {{0, true, false}, {1, false, true}, {2, true, true}, {3, true, true}};
  const std::string name = write("in", "x");

  for (const Case& c : cases) {
    SCOPED_TRACE(c.mode);
    const OpenFile file(io_open64(name.c_str(), c.mode, false, false, false));
    const port::OpenMode opened = transfers_.opened().back();

    EXPECT_EQ(opened.read, c.read);
    EXPECT_EQ(opened.write, c.write);
    EXPECT_EQ(opened.write_through, c.write);
    EXPECT_FALSE(opened.create);
    EXPECT_FALSE(opened.unbuffered);
    EXPECT_FALSE(opened.share_read);
    EXPECT_FALSE(opened.overlapped);
  }
}

TEST_F(ScriptedFiles, TheFlagsReachThePlatform) {
  const std::string name = write("in", "x");

  const OpenFile file(io_open64(name.c_str(), 0, true, true, true));

  const port::OpenMode opened = transfers_.opened().back();
  EXPECT_TRUE(opened.unbuffered);
  EXPECT_TRUE(opened.share_read);
  EXPECT_TRUE(opened.overlapped);
  EXPECT_FALSE(opened.write_through);
}

TEST_F(ScriptedFiles, CreatingForWritingOnlyUsesTheCache) {
  for (const bool write_only : {true, false}) {
    SCOPED_TRACE(write_only);
    const OpenFile file(io_create64(path("new").c_str(), write_only, 0));
    const port::OpenMode opened = transfers_.opened().back();

    EXPECT_TRUE(opened.create);
    EXPECT_TRUE(opened.write);
    EXPECT_TRUE(opened.overlapped);
    EXPECT_FALSE(opened.share_read);
    EXPECT_EQ(opened.read, !write_only);
    EXPECT_EQ(opened.unbuffered, !write_only);
    EXPECT_EQ(opened.write_through, !write_only);
  }
}

TEST_F(ScriptedFiles, CreatingReportsWhatTheSystemReports) {
  msginfo("A head line, so that there may be a continuation.");
  transfers_.next_open({.is_refused = true, .error = 5});

  const OpenFile file(io_create64(path("new").c_str(), true, 0));

  EXPECT_FALSE(file.is_open());
  EXPECT_EQ(log_.lines(),
            (Lines{"INFO : A head line, so that there may be a continuation.",
                   "ERROR: IO Create File : 'error 5'", "     : File: '" + path("new") + "'"}));
}

TEST_F(ScriptedFiles, KeepsReportingAnErrorBesideAGoodHandle) {
  transfers_.next_open({.is_refused = false, .error = 21});

  const OpenFile file(io_create64(path("new").c_str(), true, 0));

  EXPECT_TRUE(file.is_open());
  EXPECT_EQ(log_.lines()[0], "ERROR: IO Create File : 'error 21'");
}

TEST_F(ScriptedFiles, ExistingFilesAndMissingPathsAreNoNews) {
  for (const std::uint32_t error : {183U, 3U}) {
    SCOPED_TRACE(error);
    transfers_.next_open({.is_refused = error == 3, .error = error});

    const OpenFile file(io_create64(path("new").c_str(), true, 0));

    EXPECT_EQ(file.is_open(), error == 183);
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedFiles, AnInitialSizeThatCannotBeSetIsAWarning) {
  for (const int refused : {1, 2}) {  // Cutting to nothing, or extending: the same line.
    SCOPED_TRACE(refused);
    transfers_.refuse_sizes(refused, kDiskFull);

    const OpenFile file(io_create64(path("new").c_str(), true, 1000));

    EXPECT_TRUE(file.is_open());
    EXPECT_EQ(log_.lines()[0], "WARN : IO can't configure initial file size");
    transfers_.refuse_sizes(0, 0);
  }
}

TEST_F(ScriptedFiles, AnInitialSizeThatCannotBeZeroedIsAnotherWarning) {
  transfers_.refuse_zeroing(1);

  const OpenFile file(io_create64(path("new").c_str(), true, 1000));

  EXPECT_TRUE(file.is_open());
  EXPECT_EQ(log_.lines(), Lines{"WARN : IO failed to configure initial file size"});
  EXPECT_EQ(transfers_.sizes(), (std::vector<std::uint64_t>{0, 1000}));
}

TEST_F(ScriptedFiles, WithoutAnInitialSizeNothingIsCut) {
  for (const long long size : {0LL, -1LL}) {
    const OpenFile file(io_create64(path("file").c_str(), true, size));
  }

  EXPECT_TRUE(transfers_.sizes().empty());
}

TEST_F(ScriptedFiles, ASizeThatCannotBeSetIsFalse) {
  const OpenFile file(io_create64(path("new").c_str(), true, 0));
  transfers_.refuse_sizes(1, kDiskFull);

  EXPECT_FALSE(io_set_filesize64(file.get(), 10));
  EXPECT_TRUE(io_set_filesize64(file.get(), 10));
}

TEST_F(ScriptedFiles, TheSizeOfAVolumeIsThatOfItsRootAlone) {
  EXPECT_EQ(io_get_filesize64(io_invalid_handle(), "\\\\.\\D:\\x"), 1LL << 40);

  EXPECT_EQ(transfers_.volume_root(), "D:\\");
}

TEST_F(ScriptedFiles, TheSizeOfAVolumeThatDoesNotTellIsMinusOne) {
  transfers_.refuse_size_questions(1);

  EXPECT_EQ(io_get_filesize64(io_invalid_handle(), "\\\\.\\D:"), -1);
}

TEST_F(ScriptedFiles, ARawVolumesSizeIsItsCapacity) {
  EXPECT_EQ(io_get_filesize64(io_invalid_handle(), "\\\\.\\D:"), 1LL << 40);

  EXPECT_EQ(transfers_.volume_root(), "D:\\");
}

}  // namespace
}  // namespace orsin
