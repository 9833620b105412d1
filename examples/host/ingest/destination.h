// One place that a card is copied to.
//
//   FOLDER\                  what the user named
//     ingest.lock            there while a run has the folder; goes with the process
//     CARD\                  the copy
//     CARD.ingest\           there until the copy is complete
//       state                what is finished (state_file.h)
//       17.part              file 17 of the plan while it grows
//
// The first thing that goes wrong with the place itself ends it: it takes no more files, and its
// reason is kept. The other destinations go on.
//
// open() and close() belong to one thread; the rest may be called by all lanes at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "examples/host/ingest/guard.h"
#include "examples/host/ingest/state_file.h"
#include "examples/host/ingest/storage.h"

namespace host::ingest {

class Destination {
 public:
  Destination(std::string folder, const std::string& card_name);
  Destination(const Destination&) = delete;
  Destination& operator=(const Destination&) = delete;

  /// Takes the folder for this run: makes it, locks it, reads the state of an earlier run or forgets
  /// it, and removes half files. A failure ends the destination; busy does not.
  [[nodiscard]] OpenResult open(bool resume);

  /// Writes what was recorded. Once `complete`, nothing is left for a later run, and the folder for
  /// half files goes.
  void close(bool complete);

  [[nodiscard]] const std::string& folder() const { return folder_; }
  [[nodiscard]] const std::string& tree() const { return tree_; }
  [[nodiscard]] std::string path_of(const std::string& relative) const {
    return tree_ + "\\" + relative;
  }
  [[nodiscard]] std::string part_of(std::size_t file_index) const {
    return staging_ + "\\" + std::to_string(file_index) + ".part";
  }

  /// No file of this tree can be there yet, because the tree was not.
  [[nodiscard]] bool is_new() const { return is_new_; }

  [[nodiscard]] bool is_ended() const { return is_ended_.load(); }
  void end(const std::string& reason);
  [[nodiscard]] std::string reason();

  /// What earlier runs finished, by state file and manifest. Filled before the lanes start, constant
  /// then.
  FinishedFiles known;

  /// Notes a file that stands under its name; on the disk by the next flush.
  void record(const std::string& path, const FinishedFile& file);

  /// Everything that this run and, by `known`, earlier ones finished and that is still in the plan.
  [[nodiscard]] FinishedFiles take_finished();

  /// Puts the notes on the disk when they are many or a while has passed, or if forced.
  void flush(bool force);

  std::atomic<std::uint64_t> bytes_written = 0;
  std::atomic<std::uint64_t> files_written = 0;
  std::atomic<std::uint64_t> files_there = 0;

 private:
  [[nodiscard]] OpenResult lock();
  [[nodiscard]] bool open_state(bool resume);
  void remove_half_files() const;

  std::string folder_;
  std::string tree_;
  std::string staging_;
  bool is_new_ = false;
  OwnFile lock_;
  OwnFile state_;
  bool has_state_ = false;

  std::atomic<bool> is_ended_ = false;
  Mutex mutex_;
  // Guarded by the mutex.
  std::string reason_;
  std::string notes_;
  double noted_ = 0;
  FinishedFiles finished_;
};

/// Where the run that has a folder says so.
[[nodiscard]] std::string lock_path(const std::string& folder);

}  // namespace host::ingest
