// What new files ask of the platform. new_file_win.cpp answers.
//
// Paths are UTF-8; what does not fit 259 units fails. A call that fails leaves the thread's last
// error.
#pragma once

namespace orsin::port {

enum class Creation { kCreated, kExists, kRefused };

/// Makes an empty file of a name that nobody has. CreateFileW.
[[nodiscard]] Creation create_new_file(const char* path) noexcept;

/// Gives the file another name in its directory, in place of a file that has it. MoveFileExW.
[[nodiscard]] bool rename_new_file(const char* from, const char* to) noexcept;

/// DeleteFileW. Keeps the last error.
void remove_new_file(const char* path) noexcept;

}  // namespace orsin::port
