// What the file utilities ask of the process environment. environment_win.cpp answers.
#pragma once

#include <cstddef>

namespace orsin::port {

/// A variable's value as UTF-8, cut to `size` bytes with its terminator. False when there is none.
/// Windows: GetEnvironmentVariableW.
[[nodiscard]] bool read_environment(const char* name, char* value, std::size_t size) noexcept;

}  // namespace orsin::port
