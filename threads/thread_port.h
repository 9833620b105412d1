// What the thread table asks of the platform. thread_win.cpp answers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin::port {

struct StartedThread {
  void* handle = nullptr;  // Null: the thread could not be created; see the last error.
  unsigned int identifier = 0;
};

enum class ThreadWait { kEnded, kTimedOut, kFailed };

/// What a new thread does first: `run(entry, argument)`. It travels by value: the table may give
/// the thread's record to another before the thread has run at all.
struct ThreadStart {
  void (*run)(void (*entry)(void*), void* argument);
  void (*entry)(void*);
  void* argument;
};

/// Starts a thread at once on a stack of `stack_bytes`.
[[nodiscard]] StartedThread start_thread(const ThreadStart& start,
                                         std::size_t stack_bytes) noexcept;
[[nodiscard]] unsigned int current_thread_identifier() noexcept;
/// Another handle to the same thread; null when the system has none, see the last error.
[[nodiscard]] void* duplicate_thread(void* handle) noexcept;
[[nodiscard]] ThreadWait wait_for_thread(void* handle, std::uint32_t timeout_ms) noexcept;
/// Ends a thread wherever it stands; it has run its last instruction when this returns true.
[[nodiscard]] bool terminate_thread(void* handle) noexcept;
void close_thread(void* handle) noexcept;

/// Per cent of the physical memory in use.
[[nodiscard]] unsigned int memory_load_percent() noexcept;

/// Ends the process now, without running anything else of it.
[[noreturn]] void end_process(int exit_code) noexcept;

/// Bind the calling thread: hard to a set of processors, or softly to one.
[[nodiscard]] bool set_group_affinity(std::uint16_t group, std::uint64_t mask) noexcept;
[[nodiscard]] bool set_ideal_processor(std::uint16_t group, std::uint8_t number) noexcept;

}  // namespace orsin::port
