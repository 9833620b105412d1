// A copy's own writer on a scripted platform: what it writes, and when a failure is known.
#include "files/copy_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/copy_streams.h"
#include "orsincore/memory.h"
#include "tests/files/io_fixture.h"
#include "tests/platform/native/fake_transfers.h"

namespace orsin {
namespace {

using test::Lines;
using test::StartedTransfer;

using Started = std::vector<StartedTransfer>;

constexpr unsigned kUnit = 8192;  // Of drives that do not tell theirs.
constexpr std::uint32_t kDiskFull = 112;

class CopyWriters : public test::IoTest {
 protected:
  void SetUp() override {
    bytes_ = static_cast<unsigned char*>(os_alloc(4 * kUnit, 0));
    std::memset(bytes_, 'b', 4 * kUnit);
    ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, true));
  }
  void TearDown() override {
    writer_.close_file(true);
    os_free(bytes_);
  }

  void work(std::uint64_t position, std::uint64_t length) {
    writer_.work({bytes_, position, length, 0});
  }

  unsigned char* bytes_ = nullptr;
  test::FakeTransfers transfers_;
  CopyWriter writer_;
};

TEST_F(CopyWriters, HaveTheirFilesPastTheCacheAndTheSourceReadableForOthers) {
  const BorrowedReader reader = reader_for_copy(nullptr);
  const BorrowedWriter writer = writer_for_copy(nullptr);

  ASSERT_TRUE(open_source(*reader.get(), write("source", "bytes").c_str()));
  ASSERT_TRUE(create_destination(writer, path("copy").c_str()));

  const std::vector<port::OpenMode> opened = transfers_.opened();
  ASSERT_EQ(opened.size(), 3U);  // The test's own one is the first.
  EXPECT_TRUE(opened[1].unbuffered && opened[1].overlapped && opened[1].share_read);
  EXPECT_TRUE(opened[2].unbuffered && opened[2].overlapped && opened[2].create);
  EXPECT_EQ(transfers_.started(), Started{});                   // Nothing ahead of its time.
  EXPECT_EQ(transfers_.sizes(), std::vector<std::uint64_t>{});  // Nothing reserved.
  reader.get()->close_file();
  writer.get()->close_file(true);
}

TEST_F(CopyWriters, WriteBlocksWhereTheyLieAndCutTheLast) {
  work(0, 2 * kUnit);
  work(2 * kUnit, 10);

  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(transfers_.started(), (Started{{false, 0, 2 * kUnit}, {false, 2 * kUnit, kUnit}}));
  EXPECT_EQ(content("out"), std::string(2 * kUnit + 10, 'b'));
  EXPECT_EQ(writer_.error(), 0);
}

TEST_F(CopyWriters, LeaveASizeAloneThatIsRight) {
  work(0, 2 * kUnit);

  writer_.close_file(true);

  EXPECT_EQ(transfers_.sizes(), std::vector<std::uint64_t>{});
}

TEST_F(CopyWriters, WriteThroughTheCacheWhereBlocksAreNotWholeSectors) {
  rwBufferConfigure(1 << 26, false, false, false);
  ASSERT_TRUE(writer_.open_file(path("cached").c_str(), 0, true));
  rwBufferConfigure(0, false, false, false);

  work(0, 10);
  writer_.close_file(true);

  EXPECT_EQ(content("cached"), std::string(10, 'b'));
  EXPECT_EQ(transfers_.sizes(), std::vector<std::uint64_t>{});  // Nothing too much was written.
}

TEST_F(CopyWriters, TellAFailureAtOnceAndWriteNoMore) {
  transfers_.next({});
  transfers_.next({.error = kDiskFull});
  work(0, kUnit);
  EXPECT_EQ(writer_.error(), 0);

  work(kUnit, kUnit);
  EXPECT_EQ(writer_.error(), 1);
  work(2 * kUnit, kUnit);
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(transfers_.started().size(), 2U);
  EXPECT_EQ(content("out"), std::string(kUnit, 'b'));
  EXPECT_EQ(errors(), Lines{"ERROR: IO write error(1) : 'error 112'"});
}

// Then its size says nothing more, and is not looked at.
TEST_F(CopyWriters, CountNoSizeBesideAWriteThatFailed) {
  transfers_.next({});
  transfers_.next({.error = kDiskFull});
  work(0, kUnit);
  work(kUnit, kUnit);
  std::filesystem::resize_file(path("out"), 0);

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(errors().size(), 1U);
}

TEST_F(CopyWriters, CountAWriteThatEndsShort) {
  transfers_.next({.pends = true, .bytes = 4096});

  work(0, kUnit);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(errors(), Lines{"ERROR: IO write error(2) - (4096 8192)"});
}

TEST_F(CopyWriters, ForgetTheFailuresOfTheFileBefore) {
  transfers_.next({.error = kDiskFull});
  work(0, kUnit);

  ASSERT_TRUE(writer_.open_file(path("next").c_str(), 0, true));
  work(0, 5);
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 0);
  EXPECT_EQ(content("next"), "bbbbb");
}

TEST_F(CopyWriters, LeaveAnAbandonedFileAsItIs) {
  write("old", std::string(5 * kUnit, 'o'));
  ASSERT_TRUE(writer_.open_file(path("old").c_str(), 0, true));

  writer_.abandon();

  EXPECT_EQ(content("old"), std::string(5 * kUnit, 'o'));
}

}  // namespace
}  // namespace orsin
