// What the host needs of its terminal and its process: UTF-8 arguments and output, the width of a
// progress line, Ctrl-C. console_win.cpp answers.
#pragma once

#include <cstddef>
#include <cstdio>

namespace host {

/// Reads the command line as UTF-8, with the program's full path in front, and switches the
/// console's output to UTF-8 until the program ends. Call once, first.
void open_console();

/// The command line read by open_console(); argv ends with null and lives as long as the process.
int console_argc();
char** console_argv();

/// Standard error as the program found it: start-up turns the process's own into the log.
std::FILE* console_errors();

/// From now on standard input and output carry bytes, not lines of text.
void carry_bytes();

/// True when standard output is a console, so that a progress line can be rewritten in place.
bool output_is_console();

/// From now on standard output takes bytes as they are, without turning line ends into CR LF.
void use_binary_output();

/// The characters in a line of the console; 80 when there is none.
std::size_t console_width();

/// From here to restore_errors() nothing that is written to standard error is seen. Takes what
/// silence_errors() gave.
int silence_errors();
void restore_errors(int saved);

/// The system's code of what failed last on this thread.
unsigned long last_error_code();

/// A number that no other running process has.
unsigned long process_id();

/// From now on Ctrl-C (and closing the console) only asks: cancel_requested() turns true.
void catch_cancel();
bool cancel_requested();

/// Everything is cleaned up: where the console was closed, the system may end the process now.
void end_console();

}  // namespace host
