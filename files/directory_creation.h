// Making sure that a file can be created where its path says.
#pragma once

#include <string_view>

namespace orsin {

/// True when the directory (shorter than 260 bytes) exists or was made, parents included.
[[nodiscard]] bool ensure_directory_part(std::string_view directory);

}  // namespace orsin
