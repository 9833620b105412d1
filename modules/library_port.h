// What the library loader asks of the platform. library_win.cpp answers.
#pragma once

namespace orsin::port {

/// Loads a library by path or name. Null: see the last error.
[[nodiscard]] void* load_library(const char* path) noexcept;
void unload_library(void* module) noexcept;

/// The address of an exported name; null when there is none.
[[nodiscard]] void* find_symbol(void* module, const char* symbol) noexcept;

/// Spares the library the calls about threads that start and end.
void silence_thread_notices(void* module) noexcept;

/// Where else libraries are looked for, in the whole process; null takes it back.
void set_library_directory(const char* directory) noexcept;

/// Turns the system's boxes about critical errors and files that cannot be opened off.
void silence_error_boxes() noexcept;

}  // namespace orsin::port
