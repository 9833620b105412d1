// What an ingest is going to do, known before the first byte is copied: the card's tree as files and
// directories, the links that are not followed, and what has to be refused.
//
// Paths are relative to the card, with backslashes. Directories come before what they hold, names
// in the order of their bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host::ingest {

enum class EntryKind { kFile, kDirectory, kLink };

/// An entry of a directory as the system has it.
struct Entry {
  std::string name;  // UTF-8; what is no valid UTF-16 shows as U+FFFD.
  EntryKind kind = EntryKind::kFile;
  bool is_name_exact = true;        // False: the name above is not all of it.
  std::uint64_t size = 0;           // Bytes.
  std::uint64_t write_time = 0;     // 100 ns since 1601 UTC.
  std::uint64_t creation_time = 0;  // The same.
  std::uint32_t attributes = 0;     // Hidden, read-only, system, archive: the system's bits.
};

/// Lists directories; the plan knows nothing else of the disk.
class Lister {
 public:
  virtual ~Lister() = default;

  /// Fills in the entries without "." and "..", in any order.
  /// @return Empty; else the reason why the directory cannot be read.
  [[nodiscard]] virtual std::string list(const std::string& directory,
                                         std::vector<Entry>& entries) = 0;
};

/// A file or a directory to be made.
struct PlannedEntry {
  std::string path;
  std::uint64_t size = 0;
  std::uint64_t write_time = 0;
  std::uint64_t creation_time = 0;
  std::uint32_t attributes = 0;
};

struct Refusal {
  std::string path;
  std::string reason;
};

struct Plan {
  std::vector<PlannedEntry> files;
  std::vector<PlannedEntry> directories;
  std::vector<std::string> links;
  std::vector<Refusal> refusals;
  std::uint64_t bytes = 0;
};

/// Walks the tree below `card`.
///
/// @param root_bytes  The length of the longest path, the card's own or a destination's, that the
///                    relative paths are going to be put behind.
[[nodiscard]] Plan make_plan(Lister& lister, const std::string& card, std::size_t root_bytes);

}  // namespace host::ingest
