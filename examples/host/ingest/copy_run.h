// Carries a plan out: directories, then all files by several lanes, then the times of directories.
//
// A lane is a thread that takes one file after the other. Small files go whole through its own
// buffer, so several are in flight; a large one has a ring, a hasher and writers to itself, of which
// there are two sets, and while it is being read back the next large one is copied.
#pragma once

#include <functional>
#include <vector>

#include "examples/host/ingest/file_job.h"
#include "examples/host/ingest/status_text.h"

namespace host::ingest {

class CopyRun {
 public:
  CopyRun(SharedRun& run, const Plan& plan, std::vector<FileRecord>& records);
  ~CopyRun();
  CopyRun(const CopyRun&) = delete;
  CopyRun& operator=(const CopyRun&) = delete;

  /// Runs until everything is done, failed, or stopped by the user.
  ///
  /// @param jobs     Lanes.
  /// @param on_tick  Called some fifty times a second from the calling thread.
  /// @return Empty, or why it could not begin.
  [[nodiscard]] std::string carry_out(int jobs, const std::function<void(const Status&)>& on_tick);

  [[nodiscard]] Status status() const;

 private:
  [[nodiscard]] unsigned char* allocate(std::size_t bytes);
  void make_directories();
  void finish_directories();
  static void run_lane(void* self);
  void work();
  [[nodiscard]] bool take_file(std::size_t& index, bool& is_large);

  SharedRun& run_;
  const Plan& plan_;
  std::vector<FileRecord>& records_;
  double started_;
  std::vector<std::size_t> small_;
  std::vector<std::size_t> large_;
  std::vector<void*> memory_;
  unsigned char* buffers_ = nullptr;  // One for each lane.
  Mutex mutex_;
  // Guarded by the mutex.
  std::size_t next_small_ = 0;
  std::size_t next_large_ = 0;
  std::size_t large_at_work_ = 0;
  int lanes_started_ = 0;
  std::atomic<int> lanes_at_work_ = 0;
};

}  // namespace host::ingest
