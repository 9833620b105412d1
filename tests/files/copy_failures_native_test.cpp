// Copies whose disk fills up, vanishes, cannot be read or changes meanwhile; the disk is a fake.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "files/growing_block.h"
#include "files/hash_marks.h"
#include "orsincore/files.h"
#include "orsincore/text.h"
#include "tests/files/altering_writer.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_start.h"
#include "tests/platform/native/fake_disk.h"
#include "tests/platform/native/fake_transfers.h"
#include "tests/platform/native/pages_native.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::CopyCall;
using test::fake_disk;
using test::Lines;
using test::random_content;
using test::TemporaryDirectory;

constexpr std::size_t kMebibyte = 1U << 20;
constexpr std::uint32_t kUserMappedFile = 1224;

class CopyFailures : public testing::Test {
 protected:
  CopyFailures() : content_(long_content()) { directory_.write("source.bin", content_); }

  // Three whole buffers of the writer and some. Made once.
  static const std::string& long_content() {
    static const std::string content = random_content(56 * kMebibyte + 12345);
    return content;
  }

  std::string source() const { return below(directory_, "source.bin"); }
  std::string destination() const { return below(directory_, "copy.bin"); }
  std::string read_source() const {
    return TemporaryDirectory::read(directory_.path("source.bin"));
  }
  CopyCall call() const { return {.source = source(), .destinations = {destination()}}; }

  int copy_secure(unsigned flags = 3) {
    return file_copy_secure(source().c_str(), destination().c_str(), true, bytes_, md5_, flags,
                            nullptr, nullptr);
  }

  const std::string& content_;
  TemporaryDirectory directory_;
  test::FakeDiskScope disk_;
  test::IoStart io_;
  test::LogCapture log_;
  unsigned long long bytes_ = 0;
  md5_state_s md5_ = {};
};

TEST_F(CopyFailures, Gives8OnAFullDisk) {
  fake_disk().writable_bytes = 16 * kMebibyte;
  CopyCall copy = call();

  EXPECT_EQ(copy.run(), -8);

  EXPECT_GE(copy.bytes, 15 * kMebibyte);
  EXPECT_LT(copy.bytes, 24 * kMebibyte);  // Found when the ring has gone round, at the latest.
  ASSERT_FALSE(log_.lines().empty());
  EXPECT_EQ(log_.lines()[0], "ERROR: IO write error(1) : 'error 112'");
  EXPECT_TRUE(read_source() == content_);
}

// The rest of the older file would pass for the end of the copy.
TEST_F(CopyFailures, IsAFailureWhereALongerFileCannotBeCut) {
  directory_.write("copy.bin", content_ + "the end of another take");
  test::FakeTransfers transfers;
  transfers.refuse_sizes(1000, kUserMappedFile);
  CopyCall copy = call();

  EXPECT_EQ(copy.run(), -8);
  EXPECT_EQ(copy_secure(0), -4);
  EXPECT_EQ(ov_filecopy(source().c_str(), destination().c_str(), false, bytes_), -3);

  EXPECT_EQ(log_.lines().back(), "ERROR: Writebuffer set FileSize : 'error 1224'");
}

// Nor can it be opened in another way, as somebody looks at it all the time.
TEST_F(CopyFailures, IsAFailureWhereALongerFileIsLeftToNobody) {
  constexpr std::uint32_t kSharingViolation = 32;
  directory_.write("copy.bin", content_ + "the end of another take");
  test::FakeTransfers transfers;
  transfers.refuse_sizes(1, kUserMappedFile);
  transfers.next_open({});  // The source, and what it is copied to.
  transfers.next_open({});
  for (int i = 0; i < 20; ++i) {
    transfers.next_open({.is_refused = true, .error = kSharingViolation});
  }
  CopyCall copy = call();

  EXPECT_EQ(copy.run(), -8);

  EXPECT_EQ(log_.lines().back(), "ERROR: Writebuffer set FileSize : 'error 32'");
}

TEST_F(CopyFailures, Gives8WhenOnlyTheEndDoesNotFit) {
  fake_disk().writable_bytes = 48 * kMebibyte;  // Three buffers; the rest is written at closing.
  CopyCall copy = call();

  EXPECT_EQ(copy.run(), -8);

  EXPECT_TRUE(read_source() == content_);
}

TEST_F(CopyFailures, Gives8ForASmallFileOnAFullDisk) {
  directory_.write("source.bin", "content");
  fake_disk().writable_bytes = 0;
  CopyCall copy = call();

  EXPECT_EQ(copy.run(), -8);
}

TEST_F(CopyFailures, Gives8WhenAWriteEndsShort) {
  test::FakeTransfers transfers;
  directory_.write("small.bin", std::string(65536, 's'));
  CopyCall copy{.source = below(directory_, "small.bin"), .destinations = {destination()}};
  transfers.next({});                              // The source is read.
  transfers.next({.pends = true, .bytes = 4096});  // The disk is full half-way.

  EXPECT_EQ(copy.run(), -8);

  EXPECT_EQ(log_.lines(), (Lines{"ERROR: IO write error(2) - (4096 65536)"}));
}

TEST_F(CopyFailures, KeepsWhatWasWrittenToEveryDestination) {
  fake_disk().writable_bytes = 48 * kMebibyte;
  CopyCall copy{
      .source = source(),
      .destinations = {below(directory_, "1"), below(directory_, "2"), below(directory_, "3")}};

  EXPECT_EQ(copy.run(), -8);

  std::size_t total = 0;
  for (const char* name : {"1", "2", "3"}) {
    SCOPED_TRACE(name);
    const std::string written = TemporaryDirectory::read(directory_.path(name));
    EXPECT_TRUE(written == content_.substr(0, written.size()));
    total += written.size();
  }
  EXPECT_GE(total, 40 * kMebibyte);
}

TEST_F(CopyFailures, GiveASecureCopysRangeOnAFullDisk) {
  fake_disk().writable_bytes = 0;
  bytes_ = 1000;

  EXPECT_EQ(copy_secure(), -4);

  // Found within a round of the ring.
  const std::string text = get_error_file_copy_secure(-4, false);
  EXPECT_EQ(text, "File Copy: write error of " + source() + " between " + std::to_string(bytes_) +
                      " and " + std::to_string(bytes_ + kMebibyte) + " \n");
  EXPECT_LT(bytes_, 1000 + 8 * kMebibyte);
  EXPECT_TRUE(read_source() == content_);
}

TEST_F(CopyFailures, EndATreeCopyOnAFullDisk) {
  fake_disk().writable_bytes = 16 * kMebibyte;

  EXPECT_EQ(ov_filecopy(source().c_str(), destination().c_str(), false, bytes_), -3);

  EXPECT_LT(bytes_, 24 * kMebibyte);  // As above: nobody reads on for nothing.
  EXPECT_TRUE(read_source() == content_);
}

TEST_F(CopyFailures, Give3WhenTheFirstBlockCannotBeRead) {
  directory_.write("copy.bin", "old");
  fake_disk().readable_bytes = 0;
  CopyCall copy = call();

  EXPECT_EQ(copy.run(), -3);

  EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to read '" + source() + "'");
  EXPECT_EQ(copy.bytes, 0U);
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
}

TEST_F(CopyFailures, Give3ForASecureCopyThatCannotBeRead) {
  directory_.write("copy.bin", "old");
  fake_disk().readable_bytes = 0;

  EXPECT_EQ(copy_secure(), -3);

  EXPECT_EQ(get_error_file_copy_secure(-3, false),
            "File Copy: failed to read '" + source() + "'\n");
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
}

TEST_F(CopyFailures, Give3ForAFileThatCannotBeReadBack) {
  fake_disk().readable_bytes = 0;

  EXPECT_EQ(file_read_secure(source().c_str(), md5_, nullptr, nullptr), -3);

  EXPECT_EQ(get_error_file_copy_secure(-3, false),
            "File Copy: unable to read '" + source() + "'\n");
}

TEST_F(CopyFailures, DoNotTakeAByteThatCannotBeReadForAnEmptyFile) {
  directory_.write("source.bin", "c");
  directory_.write("copy.bin", "old");
  fake_disk().readable_bytes = 0;

  EXPECT_EQ(call().run(), -3);
  EXPECT_EQ(copy_secure(), -3);
  EXPECT_EQ(file_read_secure(source().c_str(), md5_, nullptr, nullptr), -3);
  EXPECT_EQ(ov_filecopy(source().c_str(), destination().c_str(), false, bytes_), -3);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
}

TEST_F(CopyFailures, Give3ForATreeCopyThatCannotBeRead) {
  directory_.write("copy.bin", "old");
  fake_disk().readable_bytes = 0;

  EXPECT_EQ(ov_filecopy(source().c_str(), destination().c_str(), false, bytes_), -3);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
}

TEST_F(CopyFailures, KeepEndingWhereTheSourceCannotBeReadOn) {
  fake_disk().readable_bytes = 20 * kMebibyte;
  CopyCall copy = call();

  EXPECT_EQ(copy.run(), 0);

  // The caller sees the shortage in `bytes`, the log in the reader's line.
  EXPECT_EQ(copy.bytes, 20 * kMebibyte);
  EXPECT_TRUE(TemporaryDirectory::read(directory_.path("copy.bin")) ==
              content_.substr(0, 20 * kMebibyte));
  EXPECT_NE(log_.text().find("IO read error(1)"), std::string::npos);
}

TEST_F(CopyFailures, KeepEndingWhereTheSourceWasTruncated) {
  CopyCall copy = call();
  copy.on_block = [this](bool /*is_end*/) {
    std::filesystem::resize_file(test::to_path(directory_.path("source.bin")), 12 * kMebibyte);
  };

  EXPECT_EQ(copy.run(), 0);

  EXPECT_LT(copy.bytes, content_.size());
  const std::string written = TemporaryDirectory::read(directory_.path("copy.bin"));
  EXPECT_EQ(written.size(), copy.bytes);
  EXPECT_TRUE(written == content_.substr(0, written.size()));
  EXPECT_NE(log_.text().find("IO read beyond EOF.."), std::string::npos) << log_.text();
}

TEST_F(CopyFailures, WarnAboutASourceThatVanished) {
  directory_.write("source.bin", "content");
  CopyCall copy = call();
  copy.on_block = [this](bool is_end) {
    if (is_end) {
      // While it is open nobody deletes it; a share that is gone takes it along.
      EXPECT_TRUE(std::filesystem::remove(directory_.path("source.bin")));
    }
  };

  EXPECT_EQ(copy.run(), 0);

  EXPECT_EQ(log_.lines(),
            (Lines{"WARN : File Copy: failed to retrieve the file times '" + source() + "'",
                   "WARN : File Copy: failed to retrieve the file attributes '" + source() + "'"}));
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "content");
}

TEST_F(CopyFailures, LeaveADestinationThatWasThereWhenALaterOneCannotBeCreated) {
  directory_.write("copy.bin", "old");
  directory_.write("there/inside", "x");
  CopyCall copy = call();
  copy.destinations.push_back(below(directory_, "there"));

  EXPECT_EQ(copy.run(), -2);

  EXPECT_EQ(log_.last_line(),
            "ERROR: File Copy: failed to create '" + below(directory_, "there") + "'");
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
}

TEST_F(CopyFailures, MakeDoWithSingleBuffersWhereMemoryIsShort) {
  const test::PagesScript pages;
  pages->largest_commit_bytes = 4 * kMebibyte;  // No ring in one piece.
  CopyCall copy = call();

  EXPECT_EQ(copy.run(), 0);

  EXPECT_TRUE(TemporaryDirectory::read(directory_.path("copy.bin")) == content_);
}

class CopiesToAFullDisk : public CopyFailures {
 protected:
  // With room for 0 bytes, one step more, and so on.
  void expect_failures(std::uint64_t source_bytes, std::uint64_t step) {
    directory_.write("source.bin", random_content(source_bytes));
    for (std::uint64_t room = 0; room < source_bytes; room += step) {
      SCOPED_TRACE(room);
      fake_disk().writable_bytes = room;

      EXPECT_EQ(call().run(), -8);
      EXPECT_EQ(copy_secure(0), -4);
      EXPECT_EQ(ov_filecopy(source().c_str(), destination().c_str(), false, bytes_), -3);
    }
  }
};

TEST_F(CopiesToAFullDisk, FailAtWhicheverByteItIsFull) {
  expect_failures(1100, 1);
}

TEST_F(CopiesToAFullDisk, FailWithinAnyUnit) {
  expect_failures(40000, 997);
}

// Storage on a network that loses the file's end for a moment.
TEST_F(CopyFailures, NeverDisplaceWhatFollowsAShortBlock) {
  test::FakeTransfers transfers;
  for (int i = 0; i < 5; ++i) {  // Of the eight reads that a copy begins with.
    transfers.next({});
  }
  transfers.next({.pends = true, .bytes = 512 * 1024});

  EXPECT_EQ(copy_secure(), 0);

  EXPECT_EQ(bytes_, content_.size());
  EXPECT_TRUE(TemporaryDirectory::read(directory_.path("copy.bin")) == content_);
}

TEST_F(CopyFailures, AreComparedFromEndToEndWithoutMemoryForMarks) {
  test::AlteringWriter writer([&] { test::flip_bit(directory_.path("copy.bin"), 50 * kMebibyte); });
  const test::AllocationRefusal refusal(kGrowthBytes);

  EXPECT_EQ(copy_secure(), 0);
  EXPECT_EQ(file_copy_secure(source().c_str(), destination().c_str(), true, bytes_, md5_, 3,
                             nullptr, &writer),
            -7);
}

TEST(HashMarks, AreLostForGoodWithOneThatFoundNoMemory) {
  HashMarks marks;
  {
    const test::AllocationRefusal refusal(1);
    marks.add({});
  }
  marks.add({});
  marks.end({}, 2 * HashMarks::kDistance);

  EXPECT_FALSE(marks.is_complete());
}

}  // namespace
}  // namespace orsin
