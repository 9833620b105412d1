// What the process holds of the system, asked of the system.
#pragma once

#include <cstdint>

namespace orsin::soak {

struct ProcessFigures {
  std::int64_t resident_bytes = 0;
  std::int64_t handles = 0;
  std::int64_t threads = 0;
};

/// All 0 where the system does not tell.
[[nodiscard]] ProcessFigures process_figures();

}  // namespace orsin::soak
