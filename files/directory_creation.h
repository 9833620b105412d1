// Making sure that a file can be created where its path says.
#pragma once

#include <string_view>

#include "base/path_buffer.h"

namespace orsin {

/// The directory that file_ensure_directory() means: absolute as it is, or below the data path.
/// False when it does not fit.
[[nodiscard]] bool resolve_directory(PathBuffer& path, const char* dir);

/// True when the directory (shorter than 260 bytes) exists or was made, parents included.
[[nodiscard]] bool ensure_directory_part(std::string_view directory);

}  // namespace orsin
