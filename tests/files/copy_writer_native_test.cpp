// A copy's own writer on a scripted platform: what it writes beside the copying thread, and when a
// failure is known.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "files/copy_writer.h"
#include "tests/files/io_fixture.h"
#include "tests/native/fake_processors.h"
#include "tests/native/fake_transfers.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::fake_processors;
using test::Lines;
using test::StartedTransfer;

using Started = std::vector<StartedTransfer>;

constexpr int kBuffer = 8192;
constexpr std::uint32_t kDiskFull = 112;

class CopyWriters : public test::IoTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(writer_.set_buffer(kBuffer, true));
    ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));
  }
  void TearDown() override {
    writer_.rest();
    stop_thread_table();
    fake_processors() = {};
  }

  void add(std::size_t count) {
    const std::string bytes(count, next_);
    ASSERT_EQ(writer_.write_file(bytes.data(), 1, count), count);
    expected_ += bytes;
    ++next_;
  }

  test::FakeTransfers transfers_;
  CopyWriter writer_;
  std::string expected_;
  char next_ = 'a';
};

TEST_F(CopyWriters, FillOneBufferWhileTheOtherIsWritten) {
  transfers_.every({.pends = true});
  transfers_.ends_by_release_only();
  add(kBuffer);
  add(kBuffer - 1);  // Comes here though the first write has not ended.

  while (!transfers_.release_oldest()) {  // The thread may not have come to start it.
  }
  transfers_.every({});
  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(transfers_.started(), (Started{{false, 0, kBuffer}, {false, kBuffer, kBuffer}}));
  EXPECT_EQ(content("out"), expected_);
  EXPECT_EQ(writer_.error(), 0);
}

TEST_F(CopyWriters, CountAFailedWriteWhenTheNextBufferIsFull) {
  transfers_.next({.error = kDiskFull});
  add(kBuffer);
  add(kBuffer - 1);
  EXPECT_EQ(writer_.error(), 0);

  add(1);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(errors(), Lines{"ERROR: IO write error(1) : 'error 112'"});
}

TEST_F(CopyWriters, CountAFailedWriteAtTheEnd) {
  transfers_.next({.error = kDiskFull});
  add(kBuffer);

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
}

TEST_F(CopyWriters, CountAWriteThatEndsShort) {
  transfers_.next({.pends = true, .bytes = 4096});
  add(kBuffer);

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(errors(), Lines{"ERROR: IO write error(2) - (4096 8192)"});
}

TEST_F(CopyWriters, ForgetTheFailuresOfTheFileBefore) {
  transfers_.next({.error = kDiskFull});
  add(kBuffer);
  writer_.rest();

  ASSERT_TRUE(writer_.open_file(path("next").c_str(), 0, false));
  expected_.clear();
  add(3 * kBuffer + 5);
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 0);
  EXPECT_EQ(content("next"), expected_);
}

TEST_F(CopyWriters, WriteByThemselvesWhereNoThreadCanBeHad) {
  fake_processors().refuse_threads = true;
  errno = 11;
  add(3 * kBuffer);

  writer_.close_file(true);

  EXPECT_EQ(content("out"), expected_);
  EXPECT_EQ(errors(), Lines{"ERROR: MP: Failed to start thread : 'error 11'"});  // Asked once.
}

TEST_F(CopyWriters, StartNoThreadForAShortFile) {
  fake_processors().refuse_threads = true;
  add(kBuffer - 1);

  writer_.close_file(true);

  EXPECT_EQ(content("out"), expected_);
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(CopyWriters, WriteOneBufferByThemselves) {
  writer_.close_file(true);
  ASSERT_TRUE(writer_.set_buffer(kBuffer, false));
  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));
  fake_processors().refuse_threads = true;  // None is asked for.
  add(2 * kBuffer + 1);

  writer_.close_file(true);

  EXPECT_EQ(content("out"), expected_);
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(CopyWriters, KeepTheirBuffersWhenTheyRest) {
  add(2 * kBuffer);

  writer_.rest();

  EXPECT_NE(writer_.get_current_buffer(), nullptr);
  EXPECT_EQ(content("out"), expected_);
}

TEST_F(CopyWriters, LeaveAnAbandonedFileAsItIs) {
  writer_.close_file(true);
  write("old", std::string(5 * kBuffer, 'o'));
  ASSERT_TRUE(writer_.open_file(path("old").c_str(), 0, false));
  add(kBuffer);
  add(10);

  writer_.abandon();

  EXPECT_EQ(content("old"), std::string(kBuffer, 'a') + std::string(4 * kBuffer, 'o'));
}

}  // namespace
}  // namespace orsin
