// Walking the entries of one directory, as every listing does it.
//
// The port below is answered by directory_enumeration_win.cpp. The system has two forms of the same
// enumeration; the faster one leaves out short names and fetches more at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/path_buffer.h"
#include "files/io_port.h"

namespace orsin {

constexpr std::size_t kNameBytes = 262;  // What a name is cut to, with its terminator.

/// One entry, files and directories alike. Attributes as in file_system_port.h; time: 100 ns since
/// 1601 UTC.
struct FoundEntry {
  char name[kNameBytes];
  std::uint32_t attributes;
  std::uint64_t write_time;
};

namespace port {

/// Whether the system is 6.1 or later, where the fast form exists.
[[nodiscard]] bool has_fast_enumeration() noexcept;

/// Starts an enumeration with its first entry; null, with the last error, when it cannot.
/// FindFirstFileExW: fast is FindExInfoBasic with FIND_FIRST_EX_LARGE_FETCH.
[[nodiscard]] void* start_enumeration(const char* pattern, bool fast, FoundEntry& entry) noexcept;

/// Why an enumeration cannot start: there is no such directory (kErrorPathNotFound); or the directory
/// has no entries at all, as only a drive's root can have none.
constexpr std::uint32_t kErrorFileNotFound = 2;

enum class NextEntry { kFound, kEnd, kFailed };

/// The next entry; kFailed leaves the last error. FindNextFileW.
[[nodiscard]] NextEntry continue_enumeration(void* enumeration, FoundEntry& entry) noexcept;

/// FindClose.
void end_enumeration(void* enumeration) noexcept;

}  // namespace port

/// The entries that lists show: no system entries, no hidden ones whose name begins with ".", no
/// directory "." and none whose name begins with "..".
///
/// An enumeration that breaks off, as over a network that goes away, leaves a warning, and is told
/// from the end of the directory.
class DirectoryEnumeration {
 public:
  explicit DirectoryEnumeration(const char* directory);
  ~DirectoryEnumeration();
  DirectoryEnumeration(const DirectoryEnumeration&) = delete;
  DirectoryEnumeration& operator=(const DirectoryEnumeration&) = delete;

  /// False when the directory cannot be opened.
  [[nodiscard]] bool has_started() const { return has_started_; }

  /// True when there were entries that nobody has seen.
  [[nodiscard]] bool has_broken_off() const { return has_broken_off_; }

  /// The next entry, valid until the next call; null at the end.
  [[nodiscard]] const FoundEntry* next();

 private:
  [[nodiscard]] bool read_next();

  PathBuffer directory_;
  void* enumeration_ = nullptr;
  bool has_started_ = false;
  bool has_broken_off_ = false;
  bool has_entry_ = false;  // `entry_` was read and not handed out yet.
  FoundEntry entry_;
};

[[nodiscard]] bool is_directory(const FoundEntry& entry);

}  // namespace orsin
