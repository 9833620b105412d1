// The log of this very process, read back and cut while everybody rests.
#pragma once

#include <string>

#include "tests/soak/log_check.h"

namespace orsin::soak {

/// Reads what the log has grown by, and empties its file: at ten thousand lines a second it would fill
/// the disk. False when the file cannot be read or emptied.
[[nodiscard]] bool read_and_empty_log(LogCheck& check);

}  // namespace orsin::soak
