// Scheduling presets and the administrator test.
#include "threads/scheduling.h"

#include "core/win/windows.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"

namespace orsin {
namespace {

// Both are written without a lock: a race can only repeat the test.
constinit bool admin_tested = false;
constinit bool admin_result = false;

bool set_process_class(DWORD priority_class) {
  return SetPriorityClass(GetCurrentProcess(), priority_class) != 0;
}

bool set_thread_priority(int priority) {
  return SetThreadPriority(GetCurrentThread(), priority) != 0;
}

// A privilege that the token does not hold is reported through the last error of a call that
// succeeds.
bool adjust(HANDLE token, TOKEN_PRIVILEGES& wanted, TOKEN_PRIVILEGES* previous, DWORD* size) {
  SetLastError(ERROR_SUCCESS);
  return AdjustTokenPrivileges(token, FALSE, &wanted, sizeof(wanted), previous, size) != 0 &&
         GetLastError() == ERROR_SUCCESS;
}

bool enable_priority_privilege(HANDLE token) {
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

// Only prepares for raising priorities; what comes of it does not decide the administrator test.
void prepare_priorities() {
  HANDLE token = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token) == 0) {
    msgdebug("Failed to retrieve privilege level.. - %s", os_errormsg());
    return;
  }
  if (!enable_priority_privilege(token)) {
    msgdebug("Core: Can't adjust scheduling - %s", os_errormsg());
  }
  CloseHandle(token);
}

bool is_member_of_administrators() {
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

}  // namespace

void schedule_for_startup() {
  ov_admin_privileges();
  if (!set_process_class(HIGH_PRIORITY_CLASS)) {
    msgwarn("SCHED: Can't set high base-priority: %s", os_errormsg());
  }
  if (!set_thread_priority(THREAD_PRIORITY_ABOVE_NORMAL)) {
    msgwarn("SCHED: Can't set time 'above normal' priority: %s", os_errormsg());
  }
}

}  // namespace orsin

using namespace orsin;

void mp_schedule_ndpi() {
  if (!set_process_class(REALTIME_PRIORITY_CLASS)) {
    msgwarn("SCHED: Can't set realtime priority class: %s", os_errormsg());
  }
  if (!set_thread_priority(THREAD_PRIORITY_NORMAL)) {
    msgwarn("SCHED: Can't set time 'normal' priority: %s", os_errormsg());
  }
}

// Kept on purpose: the text says "above normal", as it always has; support staff search for it.
void mp_schedule_highest() {
  if (!set_thread_priority(THREAD_PRIORITY_HIGHEST)) {
    msgwarn("SCHED: Can't set time 'above normal' priority: %s", os_errormsg());
  }
}

void mp_schedule_high() {
  if (!set_thread_priority(THREAD_PRIORITY_ABOVE_NORMAL)) {
    msgwarn("SCHED: Can't set time 'above normal' priority: %s", os_errormsg());
  }
}

void mp_schedule_low() {
  if (!set_thread_priority(THREAD_PRIORITY_IDLE)) {
    msgwarn("SCHED: Can't set idle priority: %s", os_errormsg());
  }
  if (SetThreadPriorityBoost(GetCurrentThread(), TRUE) == 0) {
    msgwarn("SCHED: Can't disable priority boost: %s", os_errormsg());
  }
}

bool ov_admin_privileges() {
  if (!admin_tested) {
    prepare_priorities();
    admin_result = is_member_of_administrators();
    admin_tested = true;
  }
  return admin_result;
}
