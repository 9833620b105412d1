// What the scheduling presets and the administrator test ask of the platform. scheduling_win.cpp
// answers.
#pragma once

namespace orsin::port {

enum class ProcessClass { kHigh, kRealTime };
enum class ThreadPriority { kIdle, kNormal, kAboveNormal, kHighest };

/// The process's priority class, and what acts on the calling thread. False: see the last error.
[[nodiscard]] bool set_process_class(ProcessClass priority_class) noexcept;
[[nodiscard]] bool set_thread_priority(ThreadPriority priority) noexcept;
[[nodiscard]] bool disable_priority_boost() noexcept;

enum class PrivilegeResult { kEnabled, kNoToken, kRefused };

/// Enables the privilege to raise priorities in the process's token. Anything but kEnabled: see the
/// last error.
[[nodiscard]] PrivilegeResult enable_priority_privilege() noexcept;

/// Whether the calling thread's token is a member of the Administrators group.
[[nodiscard]] bool is_administrator() noexcept;

}  // namespace orsin::port
