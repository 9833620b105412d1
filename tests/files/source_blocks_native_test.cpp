// The ring of a copy: every worker sees every byte once, in order, whatever the reader's shape, the
// workers' pace, or the source does meanwhile.
#include "files/source_blocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "tests/files/io_fixture.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/platform/native/fake_transfers.h"
#include "tests/threads/gate.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::random_bytes;

// Keeps what it was given.
class Collector final : public BlockWorker {
 public:
  void work(const SourceRun& run) override {
    if (gate != nullptr) {
      gate->wait();
    }
    EXPECT_EQ(run.position + run.repeated, bytes.size());
    bytes.append(reinterpret_cast<const char*>(run.data) + run.repeated, run.length - run.repeated);
    longest_run = std::max(longest_run, run.length);
  }

  test::Gate* gate = nullptr;
  std::string bytes;
  std::uint64_t longest_run = 0;
};

class SourceBlocksTest : public test::IoTest {
 protected:
  void TearDown() override {
    stop_thread_table();
    test::fake_processors() = {};
  }

  std::string source(std::size_t size) {
    bytes_ = random_bytes(random_, size);
    return write("source", bytes_);
  }

  static void hand_over_all(SourceBlocks& blocks) {
    while (!blocks.current().is_end()) {
      blocks.hand_over();
      blocks.advance();
    }
  }

  std::mt19937 random_{20261122};
  std::string bytes_;
};

TEST_F(SourceBlocksTest, ReachEveryWorkerWhateverTheRing) {
  const std::string name = source((5U << 20) + 4321);
  for (const int buffers : {0, 1, 2, 3, 5, 8}) {  // 0: a copy's own.
    SCOPED_TRACE(buffers);
    fReadBuffer mine;
    mine.cfg_buffers(buffers, 0x40000, 0x40000);
    const BorrowedReader reader = reader_for_copy(buffers == 0 ? nullptr : &mine);
    ASSERT_TRUE(open_source(*reader.get(), name.c_str()));
    ASSERT_GT(reader.get()->getNextBlock(), 0U);
    Collector workers[3];
    {
      SourceBlocks blocks(*reader.get());
      for (Collector& worker : workers) {
        blocks.add_worker(worker, "Test", kWriteBytesMax);
      }
      hand_over_all(blocks);
    }
    reader.get()->close_file();

    for (const Collector& worker : workers) {
      EXPECT_TRUE(worker.bytes == bytes_);
    }
  }
}

TEST_F(SourceBlocksTest, GoToASlowWorkerSeveralAtOnce) {
  const BorrowedReader reader = reader_for_copy(nullptr);
  ASSERT_TRUE(open_source(*reader.get(), source(8U << 20).c_str()));
  ASSERT_GT(reader.get()->getNextBlock(), 0U);
  test::Gate gate;
  Collector slow;
  slow.gate = &gate;
  SourceBlocks blocks(*reader.get());
  blocks.add_worker(slow, "Test", kWriteBytesMax);

  for (int i = 0; i < 4; ++i) {  // As many as fit without waiting for it.
    blocks.hand_over();
    blocks.advance();
  }
  gate.open();
  hand_over_all(blocks);
  blocks.finish();

  EXPECT_TRUE(slow.bytes == bytes_);
  EXPECT_GT(slow.longest_run, kCopyBlockBytes);
}

TEST_F(SourceBlocksTest, OfAShortFileAreWorkedOnWithoutAThread) {
  test::fake_processors().refuse_threads = true;
  const BorrowedReader reader = reader_for_copy(nullptr);
  ASSERT_TRUE(open_source(*reader.get(), source(3U << 20).c_str()));
  ASSERT_GT(reader.get()->getNextBlock(), 0U);
  Collector worker;
  SourceBlocks blocks(*reader.get());
  blocks.add_worker(worker, "Test", kWriteBytesMax);

  hand_over_all(blocks);

  EXPECT_TRUE(worker.bytes == bytes_);
  EXPECT_EQ(errors(), test::Lines{});
}

TEST_F(SourceBlocksTest, AreWorkedOnByTheCopyingThreadWhereNoneCanBeHad) {
  test::fake_processors().refuse_threads = true;
  const BorrowedReader reader = reader_for_copy(nullptr);
  ASSERT_TRUE(open_source(*reader.get(), source(6U << 20).c_str()));
  ASSERT_GT(reader.get()->getNextBlock(), 0U);
  Collector workers[2];
  SourceBlocks blocks(*reader.get());
  blocks.add_worker(workers[0], "Test", kWriteBytesMax);
  blocks.add_worker(workers[1], "Test", kWriteBytesMax);

  hand_over_all(blocks);

  EXPECT_TRUE(workers[0].bytes == bytes_);
  EXPECT_TRUE(workers[1].bytes == bytes_);
  EXPECT_EQ(errors().size(), 1U);  // Asked once.
}

// Short blocks make the reader drop what it read ahead, while workers are still at earlier blocks.
TEST_F(SourceBlocksTest, ComeOnceWhereverReadsEndShort) {
  const std::string name = source((6U << 20) + 77);
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    test::FakeTransfers transfers;
    for (std::uint32_t i = 0, count = random_() % 12; i < count; ++i) {
      transfers.next(random_() % 3 == 0
                         ? test::TransferFate{.pends = true, .bytes = 1 + random_() % 0x100000}
                         : test::TransferFate{});
    }
    const BorrowedReader reader = reader_for_copy(nullptr);
    ASSERT_TRUE(open_source(*reader.get(), name.c_str()));
    ASSERT_GT(reader.get()->getNextBlock(), 0U);
    Collector worker;
    {
      SourceBlocks blocks(*reader.get());
      blocks.add_worker(worker, "Test", kWriteBytesMax);
      hand_over_all(blocks);
    }
    reader.get()->close_file();

    ASSERT_TRUE(worker.bytes == bytes_);
  }
}

}  // namespace
}  // namespace orsin
