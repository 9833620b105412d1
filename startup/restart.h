// Restart across processes: the old one keeps a mutex until it ends, the new one waits for it.
#pragma once

#include <string>
#include <string_view>

namespace orsin {

/// Remembers that "-restart" was on the command line.
void set_restart_flag();
[[nodiscard]] bool restart_flag();

/// Whether closedown is to start the program again.
[[nodiscard]] bool is_restart_requested();

/// The error code that creating the restart mutex returned.
[[nodiscard]] int restart_error();

/// What starts the successor: the program's path, our own command line from its first " -" on, and
/// the flag.
[[nodiscard]] std::wstring successor_command_line(std::wstring_view module_path,
                                                  std::wstring_view command_line);

/// Closedown's step: starts the program again with the same arguments and "-restart".
void restart_program(const char* module_path);

}  // namespace orsin
