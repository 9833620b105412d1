// What the clock asks of the platform: the high-resolution counter. clock_win.cpp answers.
#pragma once

#include <cstdint>

namespace orsin::port {

/// Counts per second; false when there is no usable counter (see the last error).
[[nodiscard]] bool query_counter_frequency(std::int64_t& frequency) noexcept;

/// The counter's value now; false when it cannot be read (see the last error).
[[nodiscard]] bool query_counter(std::int64_t& count) noexcept;

}  // namespace orsin::port
