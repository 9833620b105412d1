// Jobs done in their order by a thread of their own, beside the thread that has them done.
#pragma once

#include <cstdint>

#include "base/lock.h"
#include "orsincore/threads.h"
#include "threads/thread_table.h"

namespace orsin {

/// A thread that does numbered jobs, first come first done, a fixed number ahead at most.
///
/// What a job works on belongs to the owner, who keeps it by the job's number modulo the capacity:
/// it is the caller's until add(), the line's thread's from then until the job is done. One thread
/// calls.
class JobLine {
 public:
  /// Does job `number`, counted from 0. Runs on the line's thread.
  using Job = void (*)(void* owner, std::uint64_t number);

  /// @param capacity  Jobs that may be added and not done; at least 1.
  JobLine(void* owner, Job job, std::uint32_t capacity)
      : owner_(owner), job_(job), capacity_(capacity) {}
  ~JobLine() { stop(); }
  JobLine(const JobLine&) = delete;
  JobLine& operator=(const JobLine&) = delete;

  /// Starts the thread. False when none can be had; nothing is left behind then.
  [[nodiscard]] bool start(const char* thread_name);

  [[nodiscard]] bool is_running() const { return thread_ != kNoThread; }

  /// The number of the job that add() will add next.
  [[nodiscard]] std::uint64_t next() const { return added_; }

  /// Waits until one more job fits.
  void wait_for_room() { wait_until_ahead(capacity_ - 1); }

  /// Waits until everything added is done; a line that is not running has nothing left to do.
  void wait_until_done() { wait_until_ahead(0); }

  /// Adds job next(). The owner has waited for room.
  void add();

  /// Waits until everything added is done and ends the thread. Without a thread it does nothing.
  void stop();

 private:
  static void do_jobs(void* line);
  [[nodiscard]] bool take_job(std::uint64_t& number);
  void finish_job();
  void wait_until_ahead(std::uint64_t jobs_max);
  void release();

  void* owner_;
  Job job_;
  std::uint32_t capacity_;
  unsigned int thread_ = kNoThread;
  Mutex mutex_;  // Exists while the thread runs, as does the condition.
  __cond_str* changed_ = nullptr;
  // Changed under the mutex by the owner, who alone may look without it.
  std::uint64_t added_ = 0;
  std::uint64_t done_ ORSIN_GUARDED_BY(mutex_) = 0;
  bool is_ending_ ORSIN_GUARDED_BY(mutex_) = false;
};

}  // namespace orsin
