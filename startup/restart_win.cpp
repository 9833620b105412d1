// The mutex that a restarting process keeps, and the start of its successor; see startup/restart.h.
#include "startup/restart.h"

#include <string>

#include "base/win/windows.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

constexpr char kMutexName[] = "KORVANE_RESTART";
constexpr DWORD kSuccessorTimeoutMs = 2000;
constexpr std::size_t kPathUnits = 260;

struct Restart {
  HANDLE mutex = nullptr;
  DWORD error = ERROR_SUCCESS;
  bool is_requested = false;
  bool has_flag = false;
  bool has_waited = false;
};

constinit Restart restart;

std::wstring wide_path(const char* path) {
  wchar_t wide[kPathUnits];
  return ov_utf8_to_wchar_n(path, wide, kPathUnits);
}

bool start_process(std::wstring command_line) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  if (CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                     &startup, &process) == 0) {
    return false;
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return true;
}

// A mutex lives as long as a handle to it: without one of our own a successor that looks late would
// find no predecessor and not wait. The system closes this one when the process ends.
void keep_until_exit(HANDLE mutex) {
  HANDLE kept = nullptr;
  if (DuplicateHandle(GetCurrentProcess(), mutex, GetCurrentProcess(), &kept, 0, FALSE,
                      DUPLICATE_SAME_ACCESS) == 0) {
    msg_os_error("Restart(2)");
  }
}

}  // namespace

void set_restart_flag() {
  restart.has_flag = true;
}

bool restart_flag() {
  return restart.has_flag;
}

bool is_restart_requested() {
  return restart.is_requested;
}

int restart_error() {
  return static_cast<int>(restart.error);
}

void restart_program(const char* module_path) {
  restart.mutex = CreateMutexA(nullptr, TRUE, kMutexName);
  if (restart.mutex == nullptr) {
    msg_os_error("Restart(1)");
    return;
  }
  keep_until_exit(restart.mutex);
  if (start_process(successor_command_line(wide_path(module_path), GetCommandLineW()))) {
    msgerror(RA_DoRestartProcessFinish() == 1 ? "* Restart failed..." : "* Restarting...");
  }
}

}  // namespace orsin

using namespace orsin;

int RA_ActivateRestartProcess() {
  restart.is_requested = true;
  return 1;
}

int RA_CheckProcessWasRestarted() {
  return restart.has_flag || restart.has_waited ? 1 : 0;
}

int RA_WaitForPreviousProcessFinish() {
  SetLastError(ERROR_SUCCESS);
  HANDLE mutex = CreateMutexA(nullptr, FALSE, kMutexName);
  restart.error = GetLastError();
  if (restart.error == ERROR_ACCESS_DENIED) {
    // A predecessor with more rights lets us wait all the same, though not own the mutex in full.
    mutex = OpenMutexA(SYNCHRONIZE, FALSE, kMutexName);
  }
  if (restart.error == ERROR_ALREADY_EXISTS || restart.error == ERROR_ACCESS_DENIED) {
    if (mutex != nullptr) {
      // The predecessor ends while it owns the mutex, which then counts as free.
      WaitForSingleObject(mutex, INFINITE);
      ReleaseMutex(mutex);
    }
    restart.has_waited = true;
  }
  if (mutex != nullptr) {
    CloseHandle(mutex);
  }
  return 1;
}

// The caller owns the mutex already, so the wait succeeds at once unless the handle is bad.
int RA_DoRestartProcessFinish() {
  const bool timed_out = WaitForSingleObject(restart.mutex, kSuccessorTimeoutMs) == WAIT_TIMEOUT;
  if (timed_out) {
    ReleaseMutex(restart.mutex);
  }
  CloseHandle(restart.mutex);
  restart.mutex = nullptr;
  return timed_out ? 1 : 0;
}
