// What several file utilities share about directories.
#pragma once

#include <cstddef>

namespace orsin {

constexpr std::size_t kPathBytes = 260;  // With the terminator.

/// The directory part of a path, up to its last backslash, in a buffer of kPathBytes. False when
/// there is no backslash or the part does not fit.
[[nodiscard]] bool directory_part(const char* path, char* directory);

/// Makes a directory with its parents unless it exists.
[[nodiscard]] bool ensure_directory_exists(const char* directory);

/// Adds an inheritable full-access entry for everybody to a directory's access list. True also when
/// the directory cannot be opened for it.
bool file_grant_everyone_access(const char* directory);

}  // namespace orsin
