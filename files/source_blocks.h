// One ring of blocks with many workers: what a copy does with the bytes of its source.
//
//   reader's ring:  | 0 | 1 | 2 | 3 | 4 | 5 | 6 | 7 |
//                     ^       ^       ^   ^-------^
//                     |       |       |   being read ahead
//                     |       |       current: the copying thread, the callback
//                     |       a destination's thread, writing
//                     the hasher's thread
//
// Each worker does every block in its order, where the reader has put it: nothing is copied in
// memory. A thread that is behind takes neighbouring blocks at once, as large writes are cheaper. A
// slot is read over when all workers are done with its block; the reader is told how many it must
// keep, and the copying thread waits before the next block where a worker is further behind.
//
// A write that makes a file longer runs inside the call that starts it, asynchronous or not: so the
// documentation of Windows says of its file systems, and a copy's writes all do that. Hence the
// threads. Short files, and copies for which no thread can be had, are worked on by the copying
// thread itself: the result is the same.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "files/copy_streams.h"
#include "orsincore/io.h"
#include "threads/job_line.h"

namespace orsin {

/// Blocks that lie behind each other in memory and in the file; one, mostly.
struct SourceRun {
  const unsigned char* data;  // Starts and lies at a multiple of the source's alignment.
  std::uint64_t position;     // In the file.
  std::uint64_t length;
  std::uint64_t repeated;  // The first so many bytes came with the block before already.
};

/// Works on the blocks of a source, in their order.
class BlockWorker {
 public:
  virtual void work(const SourceRun& run) = 0;

 protected:
  BlockWorker() = default;
  ~BlockWorker() = default;
};

class SourceBlocks {
 public:
  /// @param reader  Stands at its first block. It goes on being the caller's to close, when this is
  ///                gone.
  explicit SourceBlocks(fReadBuffer& reader);

  /// As finish().
  ~SourceBlocks();
  SourceBlocks(const SourceBlocks&) = delete;
  SourceBlocks& operator=(const SourceBlocks&) = delete;

  /// At most 17 workers, all before the first block is handed over.
  ///
  /// @param run_bytes_max  How much it takes at once.
  void add_worker(BlockWorker& worker, const char* thread_name, std::uint64_t run_bytes_max);

  /// What the reader stands at.
  [[nodiscard]] Block current() { return current_block(reader_); }

  /// Gives the current block to all workers.
  void hand_over();

  /// Leaves the current block, and waits until there is room to read on.
  void advance();

  /// Waits until all that was handed over is done, and ends the threads.
  void finish();

 private:
  static constexpr int kWorkersMax = 17;  // 16 destinations and the hasher.
  static constexpr int kBlocks = 8;       // Of the largest ring.

  struct Line {
    Line(SourceBlocks& source, BlockWorker& block_worker, std::uint64_t bytes_max);

    SourceBlocks& blocks;
    BlockWorker& worker;
    std::uint64_t run_bytes_max;
    std::uint64_t next = 0;  // The first block that is not done.
    JobLine jobs;
  };

  static void do_block(void* line, std::uint64_t number);

  fReadBuffer& reader_;
  std::uint32_t kept_;
  bool is_worth_threads_;
  SourceRun runs_[kBlocks] = {};  // By block number.
  std::atomic<std::uint64_t> handed_over_{0};
  std::optional<Line> lines_[kWorkersMax];
  int line_count_ = 0;
};

}  // namespace orsin
