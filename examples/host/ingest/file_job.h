// One file on its way from the card to its destinations: read once, hashed and written as it passes,
// read back where that is asked for, and only then given its name.
//
// A destination that has a file of this name and size already is not written to; it counts as done
// if what it has reads back as the same. Otherwise the file fails there: nothing that a run did not
// write itself is ever replaced.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "examples/host/ingest/block_ring.h"
#include "examples/host/ingest/destination.h"
#include "examples/host/ingest/file_reader.h"
#include "examples/host/ingest/hashes.h"
#include "examples/host/ingest/plan.h"
#include "examples/host/ingest/run_record.h"

namespace host::ingest {

inline constexpr std::size_t kSmallFileBytes = 4U << 20;  // Up to here a file is one block.
inline constexpr std::size_t kRingBlockBytes = 1U << 20;
inline constexpr std::size_t kRingBlocks = 8;
inline constexpr std::size_t kRings = 2;  // Two files are hashed side by side.

/// What a large file goes through, one at a time.
struct Ring {
  unsigned char* memory = nullptr;
  Mutex in_use;
};

/// What all lanes share.
struct SharedRun {
  std::string card;
  bool verify = false;
  std::vector<Destination*> destinations;
  std::array<Ring, kRings> rings;
  std::atomic<std::size_t> large_files = 0;  // Begun so far: they take turns at the rings.
  std::atomic<std::uint64_t> bytes_read = 0;
  std::atomic<std::uint64_t> bytes_compared = 0;
  std::atomic<std::uint64_t> files_done = 0;
  std::atomic<std::uint64_t> files_failed = 0;
  Mutex problems_mutex;
  std::vector<Problem> problems;  // Guarded by the mutex.

  void add_problem(const std::string& what, const std::string& reason);
};

class FileJob {
 public:
  /// @param reader  The lane's own.
  /// @param buffer  The lane's own, kSmallFileBytes, aligned.
  FileJob(SharedRun& run, const PlannedEntry& file, std::size_t index, FileRecord& record,
          FileReader& reader, unsigned char* buffer)
      : run_(run), file_(file), index_(index), record_(record), reader_(reader), buffer_(buffer) {}

  /// Does all of it. What goes wrong is noted where it belongs: with the run, or the destination.
  void carry_out();

 private:
  struct Target {
    Destination* destination = nullptr;
    bool is_there = false;  // Compare instead of writing.
    bool replaces = false;  // What is there is from an earlier run of ours.
    void* part = nullptr;   // Open while it grows.
    bool has_part = false;  // On the disk.
    bool has_failed = false;
  };

  void choose_targets();
  [[nodiscard]] bool is_finished(const Destination& destination, bool& replaces) const;
  void choose(Destination& destination);
  void create_parts();
  [[nodiscard]] bool wants_bytes() const;

  [[nodiscard]] std::string read_source();
  [[nodiscard]] std::string copy();
  [[nodiscard]] std::string copy_small();
  [[nodiscard]] std::string copy_large(unsigned char* memory, std::size_t turn);
  [[nodiscard]] std::string fill_ring(BlockRing& ring);
  void write_part(Target& target, const unsigned char* data, std::uint64_t offset,
                  std::size_t bytes);
  void run_writer(Target& target, BlockRing& ring, std::size_t user);
  void run_hasher(BlockRing& ring, std::size_t turn);

  void close_parts(bool keep);
  void settle(Target& target);
  [[nodiscard]] std::string comparison_problem(const std::string& path);
  void drop_part(Target& target);
  void fail_target(Target& target, const std::string& reason);

  SharedRun& run_;
  const PlannedEntry& file_;
  std::size_t index_;
  FileRecord& record_;
  FileReader& reader_;
  unsigned char* buffer_;
  std::vector<Target> targets_;
  FileHashes hashes_;
  std::uint64_t hash_time_ = 0;
};

}  // namespace host::ingest
