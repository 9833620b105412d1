// One ring of blocks with many workers; see source_blocks.h.
#include "files/source_blocks.h"

#include <algorithm>

#include "files/read_steps.h"

namespace orsin {
namespace {

// Below this, starting a thread costs more than it saves.
constexpr unsigned long long kThreadBytesMin = 0x400000;
constexpr int kReadAhead = 3;  // More was not faster; fewer blocks to write at once was slower.

bool lies_behind(const SourceRun& run, const SourceRun& next) {
  return next.data == run.data + run.length && next.position == run.position + run.length &&
         next.repeated == 0;
}

}  // namespace

SourceBlocks::Line::Line(SourceBlocks& source, BlockWorker& block_worker, std::uint64_t bytes_max)
    : blocks(source),
      worker(block_worker),
      run_bytes_max(bytes_max),
      jobs(this, do_block, source.kept_) {}

SourceBlocks::SourceBlocks(fReadBuffer& reader)
    : reader_(reader),
      kept_(static_cast<std::uint32_t>(blocks_to_keep(reader))),
      is_worth_threads_(reader.get_file_size() == 0 || reader.get_file_size() >= kThreadBytesMin) {
  ReadSteps::keep_blocks(reader_, 1);  // Without threads, only the current one.
}

int SourceBlocks::blocks_to_keep(const fReadBuffer& reader) {
  return std::max(ReadSteps::buffer_count(reader) - kReadAhead, 1);
}

SourceBlocks::~SourceBlocks() {
  finish();
}

void SourceBlocks::add_worker(BlockWorker& worker, const char* thread_name,
                              std::uint64_t run_bytes_max) {
  Line& line = lines_[line_count_].emplace(*this, worker, run_bytes_max);
  ++line_count_;
  if (is_worth_threads_) {
    is_worth_threads_ = line.jobs.start(thread_name);  // Where one is refused, the next would be.
  }
  if (line.jobs.is_running()) {
    ReadSteps::keep_blocks(reader_, static_cast<int>(kept_));
  }
}

void SourceBlocks::hand_over() {
  const Block block = current();  // Fetches it, if nobody has looked at it yet.
  const std::uint64_t number = handed_over_.load(std::memory_order_relaxed);
  const auto* start = ReadSteps::block_data(reader_);
  SourceRun& run = runs_[number % kBlocks];
  run = {start, ReadSteps::block_position(reader_), ReadSteps::block_bytes(reader_),
         static_cast<std::uint64_t>(block.data - start)};
  handed_over_.store(number + 1, std::memory_order_release);
  for (int i = 0; i < line_count_; ++i) {
    Line& line = *lines_[i];
    if (line.jobs.is_running()) {
      line.jobs.add();
    } else {
      line.worker.work(run);
    }
  }
}

void SourceBlocks::advance() {
  const bool needs_current = ReadSteps::reads_into_current(reader_);
  for (int i = 0; i < line_count_; ++i) {
    JobLine& jobs = lines_[i]->jobs;
    if (!jobs.is_running()) {
      continue;
    }
    if (needs_current) {
      jobs.wait_until_done();
    } else {
      jobs.wait_for_room();
    }
  }
  reader_.skip_file(current().length, 1);
}

void SourceBlocks::finish() {
  for (int i = 0; i < line_count_; ++i) {
    lines_[i]->jobs.stop();
  }
  ReadSteps::keep_blocks(reader_, 1);
}

// The blocks behind this one that are there already are done with it; their jobs then find nothing
// to do.
void SourceBlocks::do_block(void* line, std::uint64_t number) {
  auto& self = *static_cast<Line*>(line);
  if (number < self.next) {
    return;
  }
  const std::uint64_t end = self.blocks.handed_over_.load(std::memory_order_acquire);
  SourceRun run = self.blocks.runs_[number % kBlocks];
  self.next = number + 1;
  while (self.next < end) {
    const SourceRun& next = self.blocks.runs_[self.next % kBlocks];
    if (!lies_behind(run, next) || run.length + next.length > self.run_bytes_max) {
      break;
    }
    run.length += next.length;
    ++self.next;
  }
  self.worker.work(run);
}

}  // namespace orsin
