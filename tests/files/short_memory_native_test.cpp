// Copies and lists that find no memory for what they work with: they fail, say so, and leave nothing
// open, or do without.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "files/copy_writer.h"
#include "files/directory_list.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_start.h"
#include "tests/platform/fake_drives.h"
#include "tests/support/log_capture.h"
#include "tests/support/new_refusal.h"

namespace orsin {
namespace {

using test::below;
using test::CopyCall;
using test::Lines;
using test::NewRefusal;
using test::TemporaryDirectory;

// Refuses the larger of the two streams that a copy makes, and grants the other.
constexpr std::size_t kLargerStream = std::max(sizeof(CopyWriter), sizeof(fReadBuffer));
static_assert(sizeof(CopyWriter) != sizeof(fReadBuffer));

class ShortMemory : public testing::Test {
 protected:
  ShortMemory() {
    directory_.write("source.bin", "content");
    directory_.write("copy.bin", "old");
  }

  std::string source() const { return below(directory_, "source.bin"); }
  std::string destination() const { return below(directory_, "copy.bin"); }
  std::string read_copy() const { return TemporaryDirectory::read(directory_.path("copy.bin")); }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::LogCapture log_;
  unsigned long long bytes_ = 0;
  md5_state_s md5_ = {};
};

TEST_F(ShortMemory, OpensAnEmptyFileWithoutMemoryForItsBytes) {
  directory_.write("empty.txt", "");
  const NewRefusal refusal(1, 1);

  ov_stream* file = ov_open(directory_.path("empty.txt").c_str(), "rb");

  EXPECT_NE(file, nullptr);
  ov_close(file);
}

TEST_F(ShortMemory, FailsACopyWithoutAReader) {
  CopyCall copy{.source = source(), .destinations = {destination()}};
  {
    const NewRefusal refusal;
    EXPECT_EQ(copy.run(), -1);
    EXPECT_EQ(file_copy_secure(source().c_str(), destination().c_str(), true, bytes_, md5_, 3,
                               nullptr, nullptr),
              -2);
    EXPECT_EQ(file_read_secure(source().c_str(), md5_, nullptr, nullptr), -2);
  }

  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: failed to open '" + source() + "'"});
  EXPECT_EQ(read_copy(), "old");
}

TEST_F(ShortMemory, FailsACopyWithoutAWriterAndLeavesNothingOpen) {
  fReadBuffer reader;
  CopyCall copy{.source = source(), .destinations = {destination()}, .reader = &reader};
  {
    const NewRefusal refusal;
    EXPECT_EQ(copy.run(), -2);
    EXPECT_EQ(file_copy_secure(source().c_str(), destination().c_str(), true, bytes_, md5_, 3,
                               &reader, nullptr),
              -2);
  }

  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: failed to create '" + destination() + "'"});
  EXPECT_EQ(read_copy(), "old");
  EXPECT_EQ(file_delete(source().c_str()), 0);
}

TEST_F(ShortMemory, FailsATreeCopyWithoutItsStreams) {
  for (const std::size_t refused : {std::size_t{1}, kLargerStream}) {
    SCOPED_TRACE(refused);
    const auto refusal = NewRefusal::of_size(refused);

    EXPECT_EQ(ov_filecopy(source().c_str(), destination().c_str(), true, bytes_), -1);

    EXPECT_EQ(log_.last_line(), "ERROR: FileCopy: Not enough memory to copy '" + source() + "'");
  }
  EXPECT_EQ(read_copy(), "old");
}

TEST_F(ShortMemory, CopiesASmallFileWithoutABufferForTheWhole) {
  const auto refusal = NewRefusal::of_size(0x100000);

  EXPECT_EQ(ov_filecopy(source().c_str(), destination().c_str(), true, bytes_), 0);

  EXPECT_EQ(read_copy(), "content");
  EXPECT_EQ(bytes_, 7U);
}

TEST_F(ShortMemory, OpensNoStreamWithoutMemoryForItselfOrItsBytes) {
  directory_.write("empty.txt", "");
  {
    const NewRefusal refusal(0, 1);
    EXPECT_EQ(ov_open(directory_.path("empty.txt").c_str(), "rb"), nullptr);
  }
  for (const int granted : {0, 1}) {
    SCOPED_TRACE(granted);
    const NewRefusal refusal(granted, 1);
    EXPECT_EQ(ov_open(directory_.path("source.bin").c_str(), "rb"), nullptr);
  }
}

TEST_F(ShortMemory, SortsNamesWithoutRoomForTheirKeys) {
  const UniqueList list = make_list();
  prepare_listing();
  for (int i = 0; i < 40; ++i) {
    const int number = i * 7 % 40;
    ASSERT_TRUE(add_file(*list, ("take" + std::to_string(number)).c_str(), 0));
  }
  {
    const NewRefusal refusal;
    flist_sort(list.get(), 1);
  }

  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(list->files[i], "take" + std::to_string(i));
  }
}

TEST_F(ShortMemory, ListsNoDrivesWithoutRoomForTheirRoots) {
  test::fake_drives() = {};
  test::fake_drives().drives.push_back({'C', port::DriveKind::kFixed, "System"});
  test::fake_drives().padding_units = 400;
  {
    const NewRefusal refusal;
    EXPECT_EQ(flist_mountp(false), nullptr);
  }
  test::fake_drives() = {};
}

}  // namespace
}  // namespace orsin
