// Priorities, privileges and groups of the Windows process; see threads/scheduling_port.h.
#include "base/win/windows.h"
#include "threads/scheduling_port.h"

namespace orsin::port {
namespace {

DWORD system_class(ProcessClass priority_class) {
  return priority_class == ProcessClass::kRealTime ? REALTIME_PRIORITY_CLASS : HIGH_PRIORITY_CLASS;
}

int system_priority(ThreadPriority priority) {
  switch (priority) {
    case ThreadPriority::kIdle:
      return THREAD_PRIORITY_IDLE;
    case ThreadPriority::kAboveNormal:
      return THREAD_PRIORITY_ABOVE_NORMAL;
    case ThreadPriority::kHighest:
      return THREAD_PRIORITY_HIGHEST;
    case ThreadPriority::kNormal:
      break;
  }
  return THREAD_PRIORITY_NORMAL;
}

// A privilege that the token does not hold is reported through the last error of a call that
// succeeds.
bool adjust(HANDLE token, TOKEN_PRIVILEGES& wanted, TOKEN_PRIVILEGES* previous, DWORD* size) {
  SetLastError(ERROR_SUCCESS);
  return AdjustTokenPrivileges(token, FALSE, &wanted, sizeof(wanted), previous, size) != 0 &&
         GetLastError() == ERROR_SUCCESS;
}

// In two steps: the first asks for the state as it is, the second gives it back enabled.
bool enable_in(HANDLE token) {
  TOKEN_PRIVILEGES wanted = {};
  wanted.PrivilegeCount = 1;
  if (LookupPrivilegeValueA(nullptr, "SeIncreaseBasePriorityPrivilege",
                            &wanted.Privileges[0].Luid) == 0) {
    return false;
  }
  TOKEN_PRIVILEGES previous = {};
  DWORD size = sizeof(previous);
  if (!adjust(token, wanted, &previous, &size)) {
    return false;
  }
  previous.PrivilegeCount = 1;
  previous.Privileges[0].Luid = wanted.Privileges[0].Luid;
  previous.Privileges[0].Attributes |= SE_PRIVILEGE_ENABLED;
  return adjust(token, previous, nullptr, nullptr);
}

}  // namespace

bool set_process_class(ProcessClass priority_class) noexcept {
  return SetPriorityClass(GetCurrentProcess(), system_class(priority_class)) != 0;
}

bool set_thread_priority(ThreadPriority priority) noexcept {
  return SetThreadPriority(GetCurrentThread(), system_priority(priority)) != 0;
}

bool disable_priority_boost() noexcept {
  return SetThreadPriorityBoost(GetCurrentThread(), TRUE) != 0;
}

PrivilegeResult enable_priority_privilege() noexcept {
  HANDLE token = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token) == 0) {
    return PrivilegeResult::kNoToken;
  }
  const bool is_enabled = enable_in(token);
  const DWORD reason = GetLastError();
  CloseHandle(token);
  SetLastError(reason);
  return is_enabled ? PrivilegeResult::kEnabled : PrivilegeResult::kRefused;
}

bool is_administrator() noexcept {
  SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
  PSID administrators = nullptr;
  if (AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS,
                               0, 0, 0, 0, 0, 0, &administrators) == 0) {
    return false;
  }
  BOOL is_member = FALSE;
  const BOOL tested = CheckTokenMembership(nullptr, administrators, &is_member);
  FreeSid(administrators);
  return tested != 0 && is_member != 0;
}

}  // namespace orsin::port
