// What the file utilities ask of the platform's file system. file_system_win.cpp and
// everyone_access_win.cpp answer.
//
// Paths are UTF-8 with backslashes, converted to at most 260 units right before the system call; a
// null path, or one of 260 bytes or more, fails like an empty one. A call that fails leaves the
// thread's last error, and errno where it says so. Nothing is logged, nothing is tried twice.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin::port {

// Bits of the attributes, as the system numbers them.
constexpr std::uint32_t kReadOnly = 0x01;
constexpr std::uint32_t kHidden = 0x02;
constexpr std::uint32_t kSystem = 0x04;
constexpr std::uint32_t kDirectory = 0x10;
constexpr std::uint32_t kReparsePoint = 0x400;

/// What a directory entry knows about a file. Times: 100 ns since 1601 UTC.
struct FileFacts {
  std::uint32_t attributes;
  std::uint64_t size_bytes;
  std::uint64_t write_time;
};

/// GetFileAttributesExW.
[[nodiscard]] bool read_facts(const char* path, FileFacts& facts) noexcept;

/// GetFileAttributesW and SetFileAttributesW.
[[nodiscard]] bool read_attributes(const char* path, std::uint32_t& attributes) noexcept;
[[nodiscard]] bool write_attributes(const char* path, std::uint32_t attributes) noexcept;

/// Opens the file for reading, shared for reading or not at all, and asks its handle for the time.
/// CreateFileW, GetFileTime.
[[nodiscard]] bool read_write_time(const char* path, bool share, std::uint64_t& time) noexcept;

/// Opens the file for writing, not shared, and sets this one time. CreateFileW, SetFileTime.
[[nodiscard]] bool write_write_time(const char* path, std::uint64_t time) noexcept;

/// Opens the file for writing attributes, shared for reading and writing, and sets this one time.
[[nodiscard]] bool write_write_time_shared(const char* path, std::uint64_t time) noexcept;

/// The same four for paths as they are, in the system's code page: with a name outside ASCII they
/// find nothing, or another file. CreateFileA, GetFileAttributesA, SetFileAttributesA.
[[nodiscard]] bool read_write_time_narrow(const char* path, std::uint64_t& time) noexcept;
[[nodiscard]] bool write_write_time_narrow(const char* path, std::uint64_t time) noexcept;
[[nodiscard]] bool read_attributes_narrow(const char* path, std::uint32_t& attributes) noexcept;
[[nodiscard]] bool write_attributes_narrow(const char* path, std::uint32_t attributes) noexcept;

/// What kind of reparse point a path itself is, links not followed; 0 when the system does not say.
/// FindFirstFileW.
[[nodiscard]] bool read_reparse_tag(const char* path, std::uint32_t& tag) noexcept;

/// A directory whatever path leads to it. Index 0: the file system gives none.
struct DirectoryIdentity {
  std::uint64_t volume;
  std::uint64_t index;
  bool operator==(const DirectoryIdentity&) const = default;
};

/// Of what a path leads to, links followed. CreateFileW, GetFileInformationByHandle.
[[nodiscard]] bool read_identity(const char* path, DirectoryIdentity& identity) noexcept;

/// A path made absolute, without dots; it need not exist. False when it does not fit. GetFullPathNameW.
[[nodiscard]] bool full_path(const char* path, char* full, std::size_t size) noexcept;

/// Where an existing path really is, links followed; false also when that does not fit.
/// GetFinalPathNameByHandleW.
[[nodiscard]] bool final_path(const char* path, char* real, std::size_t size) noexcept;

/// Makes an empty file where there is none; kErrorFileExists when there is something. CreateFileW.
[[nodiscard]] bool make_file(const char* path) noexcept;
constexpr std::uint32_t kErrorFileExists = 80;

/// These set errno. A link to a directory is removed as a directory, and its target stays. _wmkdir,
/// _wunlink, _wrmdir, _wrename.
[[nodiscard]] bool make_directory(const char* path) noexcept;
[[nodiscard]] bool remove_file(const char* path) noexcept;
[[nodiscard]] bool remove_directory(const char* path) noexcept;
[[nodiscard]] bool rename_path(const char* from, const char* to) noexcept;

/// How far granting came.
enum class AccessGrant { kNotOpened, kNotRead, kNotMerged, kNotWritten, kGranted };

/// Adds the world group's entry to a directory's access list. kNotMerged comes with the error code
/// of the merge. GetSecurityInfo, SetEntriesInAclA, SetSecurityInfo.
[[nodiscard]] AccessGrant grant_everyone(const char* dir, std::uint32_t& merge_error) noexcept;

constexpr std::uint32_t kErrorNoneMapped = 1332;

}  // namespace orsin::port

/// Adds an inheritable entry to a directory's access list that lets the world group do everything.
///
/// @return False when the list could not be read, merged (one error line) or written; true also
///         when the directory cannot be opened.
bool file_grant_everyone_access(const char* dir);
