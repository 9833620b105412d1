// Compares a folder with its history and prepares the next generation of its manifest.
//
// Every file is read and hashed, by several lanes at once, unless the caller has just read it
// itself. Links are not followed.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "examples/host/ingest/guard.h"
#include "examples/host/ingest/history.h"
#include "examples/host/ingest/plan.h"
#include "examples/host/ingest/run_record.h"
#include "examples/host/ingest/state_file.h"

namespace host::ingest {

class FolderCheck {
 public:
  /// @param fresh     Files whose hashes the caller vouches for, by path with backslashes.
  /// @param left_out  Files that are not to be spoken of, likewise.
  FolderCheck(std::string folder, const History& history, const FinishedFiles& fresh,
              const std::set<std::string>& left_out);
  FolderCheck(const FolderCheck&) = delete;
  FolderCheck& operator=(const FolderCheck&) = delete;

  /// Walks and hashes. Returns empty, or why it could not; also "stopped" by the user.
  [[nodiscard]] std::string carry_out(
      int jobs, const std::function<void(std::uint64_t done, std::uint64_t bytes)>& on_tick);

  Manifest manifest;                 // Files, directories and what became of them.
  std::vector<std::string> missing;  // In the history and not in the folder; with slashes.
  std::vector<std::string> added;    // The other way round.
  std::vector<std::string> failed;   // Different from what the history says.
  std::vector<Problem> problems;     // Not known, because something went wrong.
  std::uint64_t verified = 0;        // Files.

 private:
  void collect();
  static void run_lane(void* self);
  void work();
  void judge();
  void judge_file(ManifestFile& file);

  std::string folder_;
  const History& history_;
  const FinishedFiles& fresh_;
  const std::set<std::string>& left_out_;
  std::uint64_t bytes_ = 0;
  std::vector<std::size_t> to_read_;  // Places in the manifest's files.
  std::vector<std::string> read_problems_;
  std::atomic<std::size_t> next_ = 0;
  std::atomic<int> lanes_at_work_ = 0;
  std::atomic<std::uint64_t> bytes_read_ = 0;
};

}  // namespace host::ingest
