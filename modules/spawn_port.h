// What the spawner asks of the platform. spawn_win.cpp answers.
#pragma once

#include <cstdint>

namespace orsin::port {

/// Whose standard error a program gets where that of this process is not for children to inherit, as
/// that of a process whose log it is.
enum class ErrorOutput { kOurs, kNowhere };

/// Starts a program, looked for along PATH, and does not wait for it.
///
/// @param argv  Ends with null; joined with blanks as it is. UTF-8.
/// @return A handle for close_program(); null with the reason in errno.
[[nodiscard]] void* start_program(const char* program, const char* const* argv, ErrorOutput errors);

enum class ProgramState { kRunning, kEnded, kUnknown };

/// Looks without waiting. kUnknown: the system does not tell.
[[nodiscard]] ProgramState test_program(void* process) noexcept;

/// The exit code of a program that has ended. False with the reason in errno.
[[nodiscard]] bool read_exit_code(void* process, std::int32_t& code) noexcept;
void close_program(void* process) noexcept;

}  // namespace orsin::port
