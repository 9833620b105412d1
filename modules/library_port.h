// What the library loader asks of the platform. library_win.cpp answers.
#pragma once

#include <cstddef>
#include <string>

namespace orsin::port {

/// Loads a library by path or name. Null: see the last error.
[[nodiscard]] void* load_library(const char* path) noexcept;
void unload_library(void* module) noexcept;

/// The address of an exported name; null when there is none.
[[nodiscard]] void* find_symbol(void* module, const char* symbol) noexcept;

/// Spares the library the calls about threads that start and end.
void silence_thread_notices(void* module) noexcept;

/// The path from the root on, of a file whose path counts from the current directory. False when it
/// does not fit.
[[nodiscard]] bool absolute_path(const char* path, char* out, std::size_t size) noexcept;

/// Where else libraries are looked for, in the whole process; empty: nowhere. Windows answers so too
/// where an empty directory was set. May throw std::bad_alloc.
[[nodiscard]] std::wstring library_directory();
void set_library_directory(const char* directory) noexcept;

/// Sets what library_directory() answered.
void restore_library_directory(const std::wstring& directory) noexcept;

/// The process's error mode, in which these two bits are the boxes that are not shown.
constexpr unsigned kNoCriticalErrorBox = 0x0001;
constexpr unsigned kNoOpenFileBox = 0x8000;
[[nodiscard]] unsigned error_mode() noexcept;
void set_error_mode(unsigned mode) noexcept;

}  // namespace orsin::port
