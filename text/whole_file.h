// Small files, read at one go.
#pragma once

#include <optional>
#include <vector>

namespace orsin {

/// Every byte of a file; nothing when it cannot be opened or read to its end. Logs nothing. Throws
/// only std::bad_alloc.
[[nodiscard]] std::optional<std::vector<char>> read_whole_file(const char* path);

}  // namespace orsin
