#include "core/restart.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "core/win/windows.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"

namespace orsin {
namespace {

constexpr char kMutexName[] = "KORVANE_RESTART";
constexpr DWORD kSuccessorTimeoutMs = 2000;

struct Restart {
  HANDLE mutex = nullptr;
  DWORD error = ERROR_SUCCESS;
  bool is_requested = false;
  bool has_flag = false;
  bool has_waited = false;
};

constinit Restart restart;

// The program's path, our own arguments from the first " -" on, and the flag.
std::string successor_command_line(const char* module_path) {
  std::string line = module_path;
  const char* arguments = std::strstr(GetCommandLineA(), " -");
  if (arguments != nullptr) {
    line += arguments;
  }
  return line + " -restart";
}

bool start_process(std::string command_line) {
  STARTUPINFOA startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  if (CreateProcessA(nullptr, command_line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                     &startup, &process) == 0) {
    return false;
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return true;
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
  if (start_process(successor_command_line(module_path))) {
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
  const bool has_predecessor =
      restart.error == ERROR_ALREADY_EXISTS || restart.error == ERROR_ACCESS_DENIED;
  if (has_predecessor && mutex != nullptr) {
    // The predecessor ends while it owns the mutex, which then counts as free.
    WaitForSingleObject(mutex, INFINITE);
    ReleaseMutex(mutex);
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
