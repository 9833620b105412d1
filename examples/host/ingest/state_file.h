// What a run has finished at a destination, so that the next one need not do it again.
//
//   orsin-ingest 1                                             the first line
//   a1b2... 1048576 133500000000000000 6f0c... d41d... 133...  CLIPS\A001.MOV
//
// A line holds its own XXH64, the file's size and time of the last write (100 ns since 1601), its
// XXH64 and MD5, when they were taken, and, behind two blanks, its path. Lines are only ever added,
// after the file has taken its name. A line that the end of the process tore apart does not match
// its hash and counts for nothing: its file is compared again.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "examples/host/ingest/hashes.h"

namespace host::ingest {

/// A file that stands at its destination under its name.
struct FinishedFile {
  std::uint64_t size = 0;
  std::uint64_t write_time = 0;
  FileHashes hashes;
  std::uint64_t hash_time = 0;  // 100 ns since 1601; 0: not known.
  bool is_sealed = false;       // In a manifest: what stands there is never replaced.

  bool operator==(const FinishedFile&) const = default;
};

using FinishedFiles = std::map<std::string, FinishedFile, std::less<>>;  // By relative path.

inline constexpr std::string_view kStateHeader = "orsin-ingest 1\n";

/// One line with its line feed.
[[nodiscard]] std::string state_line(const std::string& path, const FinishedFile& file);

/// All whole lines of a state file; none when it is of another kind. A later line of the same path
/// replaces an earlier one.
[[nodiscard]] FinishedFiles read_state(std::string_view text);

}  // namespace host::ingest
