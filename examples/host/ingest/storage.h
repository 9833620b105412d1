// What an ingest needs of the disks and the system beyond the library's exported functions: whole
// directories with links and hidden names, exact times, free space under any name, files that are
// added to durably by one process at a time, and SHA-512. storage_win.cpp answers.
//
// Paths are UTF-8 with backslashes. Nothing here logs; a failure leaves the system's last error,
// which system_reason() puts into words.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "examples/host/ingest/c4.h"
#include "examples/host/ingest/plan.h"

namespace host::ingest {

/// Lists the directories of disks.
class DiskLister : public Lister {
 public:
  [[nodiscard]] std::string list(const std::string& directory,
                                 std::vector<Entry>& entries) override;
};

/// The reason of the calling thread's last failure, in the system's words, without a full stop.
[[nodiscard]] std::string system_reason();

/// Kind, size, times and attributes; nothing when the path leads nowhere or cannot be asked.
[[nodiscard]] std::optional<Entry> facts_of(const std::string& path);

/// Sets times and attributes of an open file, of a file, or of a directory.
[[nodiscard]] bool apply_facts(void* file, const PlannedEntry& facts);
[[nodiscard]] bool apply_directory_facts(const std::string& path, const PlannedEntry& facts);

/// Renames within a volume. `replace` lets it take the place of a file.
[[nodiscard]] bool rename_file(const std::string& from, const std::string& to, bool replace);

/// Bytes that the calling user may still write there; nothing when the system does not tell.
[[nodiscard]] std::optional<std::uint64_t> free_space(const std::string& directory);

/// What the user called the volume whose root this is; empty when it has no label.
[[nodiscard]] std::string volume_label(const std::string& root);

/// A number that only this volume has; nothing when the system does not tell.
[[nodiscard]] std::optional<std::uint64_t> volume_of(const std::string& directory);

/// Now, in 100 ns since 1601 UTC.
[[nodiscard]] std::uint64_t now_ticks();

/// The whole file; nothing when it cannot be read or is larger than the limit.
[[nodiscard]] std::optional<std::string> read_small_file(const std::string& path,
                                                         std::uint64_t bytes_max);

/// Writes a file that appears under its name only when all of it is on the disk, in place of one
/// that was there.
[[nodiscard]] bool write_small_file(const std::string& path, std::string_view text);

/// SHA-512 by the system's own library; nothing when it refuses.
[[nodiscard]] std::optional<Sha512Digest> sha512(std::string_view data);

enum class OpenResult { kOpen, kBusy, kFailed };

/// A file that this process alone has open. What was added is on the disk when add() returns.
class OwnFile {
 public:
  OwnFile() = default;
  ~OwnFile() { close(); }
  OwnFile(const OwnFile&) = delete;
  OwnFile& operator=(const OwnFile&) = delete;

  /// @param temporary  The file goes when it is closed, however the process ends.
  [[nodiscard]] OpenResult open(const std::string& path, bool temporary);

  /// The content so far, at most so many bytes; nothing when it cannot be read or is larger.
  [[nodiscard]] std::optional<std::string> read(std::uint64_t bytes_max);

  /// Forgets the content.
  [[nodiscard]] bool clear();

  /// Adds to the end.
  [[nodiscard]] bool add(std::string_view text);

  void close();

 private:
  void* file_ = nullptr;
};

}  // namespace host::ingest
