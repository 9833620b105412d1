// The names of a file's numbered copies.
#pragma once

#include "base/path_buffer.h"

namespace orsin {

/// "%s.%d.%s" of what stands before and after the path's last dot; number 0 is the path itself. Cut
/// to 260 bytes.
[[nodiscard]] PathBuffer backup_name(const char* path, int number);

}  // namespace orsin
