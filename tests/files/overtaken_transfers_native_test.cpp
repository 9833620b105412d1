// Streams in a busy process: others take over their transfers' slots, or flush everything, before the
// streams have looked at the results.
#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <string>
#include <thread>

#include "orsincore/io.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_fixture.h"
#include "tests/platform/native/fake_disk.h"
#include "tests/platform/native/fake_transfers.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::below;
using test::CopyCall;
using test::Lines;
using test::OpenFile;

constexpr std::uint32_t kDiskFull = 112;
constexpr std::uint32_t kBrokenPipe = 109;
constexpr int kSlots = 96;
constexpr int kBuffer = 8192;

class OvertakenTransfers : public test::IoTest {
 protected:
  OvertakenTransfers()
      : other_(io_open64(write("other", std::string(4096, 'o')).c_str(), 0, false, true, true)) {}

  void overtake() {
    for (int i = 0; i < kSlots; ++i) {
      start_foreign();
    }
  }

  // Into memory of its own: nobody waits for it.
  void start_foreign() {
    auto& bytes = foreign_.emplace_back();
    ASSERT_TRUE(io_read_async64(other_.get(), bytes.data(), 0, bytes.size(), nullptr));
  }

  // A read on a thread of its own, under way when this returns; what it says goes to `succeeded`.
  std::thread start_read(bool& succeeded) {
    std::thread reading([this, &succeeded] {
      char bytes[16];
      succeeded = io_read64(other_.get(), bytes, 0, sizeof(bytes));
    });
    while (transfers_.pending_count() == 0) {
      std::this_thread::yield();
    }
    return reading;
  }

  OpenFile other_;
  std::deque<std::array<char, 16>> foreign_;
  test::FakeTransfers transfers_;
};

class OvertakenWriter : public OvertakenTransfers {
 protected:
  void SetUp() override {
    ASSERT_TRUE(writer_.set_buffer(kBuffer, true));
    ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));
  }

  void write_one_buffer() {
    const std::string bytes(kBuffer, 'b');
    ASSERT_EQ(writer_.write_file(bytes.data(), 1, bytes.size()), bytes.size());
  }

  fWriteBuffer writer_{io_invalid_handle(), true};
};

TEST_F(OvertakenWriter, CountsABufferThatDidNotReachTheDisk) {
  transfers_.next({.pends = true, .error = kDiskFull});
  write_one_buffer();

  overtake();
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(errors(), Lines{"ERROR: IO completion error(3) - (0 8192) : 'error 112'"});
}

TEST_F(OvertakenWriter, CountsABufferThatAFlushSawFail) {
  transfers_.next({.pends = true, .error = kDiskFull});
  write_one_buffer();

  io_flush64(nullptr);
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
}

TEST_F(OvertakenWriter, CountsABufferOfWhichAPartReachedTheDisk) {
  transfers_.next({.pends = true, .bytes = 4096});
  write_one_buffer();

  overtake();
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
}

TEST_F(OvertakenWriter, CountsADirectWriteThatFailed) {
  const std::string bytes(kBuffer, 'd');
  transfers_.next({.pends = true, .error = kDiskFull});
  ASSERT_EQ(writer_.add_write_buffer(bytes.data(), bytes.size()), bytes.size());

  overtake();
  writer_.flush_buffers();

  EXPECT_EQ(writer_.error(), 1);
}

TEST_F(OvertakenWriter, CountsNothingWhereAllWasWritten) {
  transfers_.next({.pends = true});
  write_one_buffer();

  overtake();
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 0);
  EXPECT_EQ(content("out"), std::string(kBuffer, 'b'));
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(OvertakenWriter, CountsAWriteWhoseEndCannotBeKnown) {
  transfers_.next({.pends = true, .error = 996});  // Ended, and incomplete: the system contradicts.
  write_one_buffer();

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(errors(), Lines{"ERROR: IO completion error(3) - (0 8192) : 'error 996'"});
}

TEST_F(OvertakenWriter, LeavesTheTransferAloneThatHasItsSlot) {
  transfers_.next({.pends = true});
  write_one_buffer();
  transfers_.every({.pends = true});
  std::array<int, kSlots> tickets = {};
  std::array<char, kSlots> bytes = {};
  for (std::size_t i = 0; i < kSlots; ++i) {
    ASSERT_TRUE(io_read_async64(other_.get(), &bytes[i], 0, 1, &tickets[i]));
  }

  writer_.flush_buffers();

  for (int& ticket : tickets) {
    EXPECT_EQ(io_complete64(other_.get(), &ticket, false), 0);
  }
  EXPECT_EQ(transfers_.pending_count(), kSlots);
  io_flush64(nullptr);
}

class OvertakenReader : public OvertakenTransfers {
 protected:
  OvertakenReader() : bytes_(std::string(kBuffer, '1') + std::string(kBuffer, '2')) {
    reader_.cfg_buffers(2, kBuffer, kBuffer);
  }

  void open() { ASSERT_TRUE(reader_.open_file(write("in", bytes_).c_str(), true, false, false)); }
  std::string read_all() {
    std::string read(bytes_.size(), '\0');
    read.resize(reader_.read_file(read.data(), 1, read.size()));
    return read;
  }

  std::string bytes_;
  fReadBuffer reader_;
};

TEST_F(OvertakenReader, EndsAtABlockThatCouldNotBeRead) {
  open();
  transfers_.next({});
  transfers_.next({.pends = true, .error = 23});
  ASSERT_EQ(reader_.getNextBlock(), std::size_t{kBuffer});

  overtake();

  EXPECT_EQ(read_all(), bytes_.substr(0, kBuffer));
}

TEST_F(OvertakenReader, EndsAtABlockThatAFlushSawFail) {
  open();
  transfers_.next({});
  transfers_.next({.pends = true, .error = 23});
  ASSERT_EQ(reader_.getNextBlock(), std::size_t{kBuffer});

  io_flush64(nullptr);

  EXPECT_EQ(read_all(), bytes_.substr(0, kBuffer));
}

TEST_F(OvertakenReader, ReadsOnWhereAllWentWell) {
  open();
  transfers_.every({.pends = true});
  ASSERT_EQ(reader_.getNextBlock(), std::size_t{kBuffer});

  overtake();
  io_flush64(nullptr);

  EXPECT_EQ(read_all(), bytes_);
}

// Whoever of the two sees the end first.
TEST_F(OvertakenTransfers, AReadThatFailsWhileAFlushWaitsIsAFailure) {
  transfers_.ends_by_release_only();
  for (int round = 0; round < 300; ++round) {
    transfers_.next({.pends = true, .error = kBrokenPipe});
    bool succeeded = true;
    std::thread reading = start_read(succeeded);
    std::thread flushing([] { io_flush64(nullptr); });

    transfers_.release_all();
    reading.join();
    flushing.join();

    ASSERT_FALSE(succeeded) << round;
  }
}

// Only a host that guesses tickets can do so; the stream's bytes are there all the same.
TEST_F(OvertakenTransfers, AStreamKnowsItsResultThoughSomebodyElseHasCollectedIt) {
  for (const bool pends : {true, false}) {
    SCOPED_TRACE(pends);
    OwnTransfer own;
    char bytes[16];
    int ticket = 0;
    transfers_.next({.pends = pends});
    ASSERT_TRUE(start_own_read(own, other_.get(), bytes, 0, sizeof(bytes), &ticket));
    std::uint64_t count = 0;

    EXPECT_EQ(io_complete64(other_.get(), &ticket, true), 1);

    EXPECT_TRUE(finish_own(own, count));
    EXPECT_EQ(count, sizeof(bytes));
  }
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(OvertakenTransfers, AFileClosedByAnotherThreadFailsItsRead) {
  transfers_.ends_by_release_only();
  transfers_.next({.pends = true});
  bool succeeded = true;
  std::thread reading = start_read(succeeded);

  other_.close();
  reading.join();

  EXPECT_FALSE(succeeded);
}

// The waiting thread looks again now and then, as its slot's event may already be another's.
TEST_F(OvertakenTransfers, AWaitEndsThoughTheSlotServesATransferThatDoesNotEnd) {
  transfers_.ends_by_release_only();
  for (int round = 0; round < 50; ++round) {
    transfers_.next({.pends = true});
    bool succeeded = false;
    std::thread reading = start_read(succeeded);
    std::thread releasing([&] { transfers_.release_oldest(); });
    transfers_.every({});
    for (int i = 0; i < kSlots - 1; ++i) {
      start_foreign();
    }
    transfers_.next({.pends = true});
    start_foreign();

    reading.join();
    releasing.join();
    transfers_.release_all();

    ASSERT_TRUE(succeeded) << round;
  }
}

// A disk so slow that no transfer ends before somebody waits for it, and at each block of a copy so many
// others that all slots are taken over.
class OvertakenCopies : public OvertakenTransfers {
 protected:
  OvertakenCopies() {
    start_thread_table();
    write("source", source_);
    transfers_.every({.pends = true});
  }
  ~OvertakenCopies() override { stop_thread_table(); }

  [[nodiscard]] int copy(const std::vector<std::string>& names,
                         const std::vector<fWriteBuffer*>& writers = {}) {
    CopyCall call{.source = below(directory_, "source"), .destinations = {}, .writers = writers};
    for (const std::string& name : names) {
      call.destinations.push_back(below(directory_, name.c_str()));
    }
    call.on_block = [this](bool /*is_end*/) { overtake(); };
    return call.run();
  }

  // Where a disk takes so many bytes and no more, a copy fails, or all of it is there.
  void fill_up_after(std::uint64_t bytes, const std::vector<std::string>& names,
                     const std::vector<fWriteBuffer*>& writers = {}) {
    SCOPED_TRACE(bytes);
    test::fake_disk() = {};
    test::fake_disk().writable_bytes = bytes;
    const bool fits = bytes >= names.size() * source_.size();

    EXPECT_EQ(copy(names, writers), fits ? 0 : -8);

    std::size_t whole = 0;
    for (const std::string& name : names) {
      whole += content(name.c_str()) == source_ ? 1U : 0U;
      EXPECT_EQ(file_delete(below(directory_, name.c_str()).c_str()), 0);
    }
    EXPECT_EQ(whole == names.size(), fits);
  }

  const std::string source_ = test::random_content(6U << 20);  // Worth threads.
  test::FakeDiskScope disk_;
};

TEST_F(OvertakenCopies, AreWholeOrFailWhereverTheDiskIsFull) {
  for (std::uint64_t mebibytes = 0; mebibytes <= 6; ++mebibytes) {
    fill_up_after(mebibytes << 20, {"copy"});
  }
}

TEST_F(OvertakenCopies, ToThreeDestinationsAreWholeOrFailWhereverTheDiskIsFull) {
  for (const std::uint64_t mebibytes : {1U, 5U, 12U, 17U, 18U}) {
    fill_up_after(mebibytes << 20, {"a", "b", "c"});
  }
}

TEST_F(OvertakenCopies, ThroughTheCallersWriterAreWholeOrFailWhereverTheDiskIsFull) {
  for (const std::uint64_t mebibytes : {0U, 3U, 5U, 6U}) {
    fWriteBuffer writer(io_invalid_handle(), true);
    ASSERT_TRUE(writer.set_buffer(1 << 20, true));
    fill_up_after(mebibytes << 20, {"copy"}, {&writer});
  }
}

}  // namespace
}  // namespace orsin
