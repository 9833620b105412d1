// What holding everything asks of the platform. system_locks_win.cpp answers.
#pragma once

#include <cstdint>
#include <cstdio>

namespace orsin::port {

/// What hold_system_locks() holds.
struct SystemLocks {
  std::FILE* stream = nullptr;
  std::uintptr_t loader_cookie = 0;  // 0: the loader's lock was not to be had.
};

/// Takes the locks that no thread may be ended in, as nothing would load, print or allocate
/// afterwards: the loader's, the stream's (null: none), those of the process's heap and of the C
/// run-time library's. The loader's is given up after a while: a library may wait under it for as
/// long as it likes.
[[nodiscard]] SystemLocks hold_system_locks(std::FILE* stream) noexcept;
void release_system_locks(const SystemLocks& locks) noexcept;

}  // namespace orsin::port
