// What the single instance asks of the platform. instance_win.cpp answers.
#pragma once

#include <cstdint>

#include "startup/instance.h"

namespace orsin::port {

constexpr unsigned kAccessDenied = 5;
constexpr unsigned kAlreadyExists = 183;

/// Opens the session's mutex of this name, made if it is new; it is not taken. The last error is
/// kAlreadyExists when there was one, and left alone when not. Null: see the last error; that is
/// kAccessDenied when there is one which this process may not open. UTF-8.
[[nodiscard]] void* create_named_mutex(const char* name) noexcept;
void close_named_mutex(void* mutex) noexcept;

/// This process's raw command line as UTF-8; it lives as long as the process.
[[nodiscard]] const char* raw_command_line() noexcept;

/// The record in the memory that all processes of the library share.
[[nodiscard]] volatile InstanceRecord& instance_record() noexcept;

/// The top-level window of a class, whichever process it belongs to; null when there is none. UTF-8.
[[nodiscard]] void* find_window(const char* class_name) noexcept;
[[nodiscard]] bool is_minimised(void* window) noexcept;

/// These two only ask: the window's thread may hang, and its process may have more rights.
void restore_window(void* window) noexcept;
void raise_window(void* window) noexcept;

/// False where windows can be made but nobody sees them, as in a service.
[[nodiscard]] bool desktop_is_visible() noexcept;

/// Shows a box with an OK button, and returns when it was pressed. UTF-8.
void show_message(const char* text, const char* title) noexcept;

}  // namespace orsin::port
