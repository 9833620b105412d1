// What the message log asks of the platform. log_win.cpp answers.
#pragma once

#include <cstddef>

namespace orsin::port {

/// The calling thread's last system error code; setting it gives a saved one back.
[[nodiscard]] unsigned last_system_error() noexcept;
void set_last_system_error(unsigned code) noexcept;

/// The system's text for an error code in UTF-8, as it is (with its line end), terminated and cut to
/// whole characters that fit. An unknown code, or one whose text the system cannot give, leaves an
/// empty text. Windows: FormatMessageW.
void system_error_text(unsigned code, char* text, std::size_t size) noexcept;

/// Seconds since local midnight by the wall clock.
[[nodiscard]] double local_time_of_day() noexcept;

}  // namespace orsin::port
