// Starting, waiting for and ending Windows threads; see threads/thread_port.h.
#include "base/win/windows.h"
#include "threads/thread_port.h"

namespace orsin::port {
namespace {

// What to run travels in a heap cell.
DWORD WINAPI run_started(void* parameter) {
  const ThreadStart start = *static_cast<ThreadStart*>(parameter);
  HeapFree(GetProcessHeap(), 0, parameter);
  start.run(start.entry, start.argument);
  return 0;
}

}  // namespace

StartedThread start_thread(const ThreadStart& start, std::size_t stack_bytes) noexcept {
  auto* cell = static_cast<ThreadStart*>(HeapAlloc(GetProcessHeap(), 0, sizeof(ThreadStart)));
  if (cell == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return {};
  }
  *cell = start;
  DWORD identifier = 0;
  HANDLE handle = CreateThread(nullptr, stack_bytes, run_started, cell,
                               STACK_SIZE_PARAM_IS_A_RESERVATION, &identifier);
  if (handle == nullptr) {
    const DWORD reason = GetLastError();
    HeapFree(GetProcessHeap(), 0, cell);
    SetLastError(reason);
  }
  return {handle, identifier};
}

unsigned int current_thread_identifier() noexcept {
  return GetCurrentThreadId();
}

void* duplicate_thread(void* handle) noexcept {
  HANDLE duplicate = nullptr;
  DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &duplicate, 0, FALSE,
                  DUPLICATE_SAME_ACCESS);
  return duplicate;
}

ThreadWait wait_for_thread(void* handle, std::uint32_t timeout_ms) noexcept {
  switch (WaitForSingleObject(handle, timeout_ms)) {
    case WAIT_OBJECT_0:
      return ThreadWait::kEnded;
    case WAIT_TIMEOUT:
      return ThreadWait::kTimedOut;
    default:
      return ThreadWait::kFailed;
  }
}

// The thread is stopped first, and its context asked for, which waits until it stands still: so it is
// outside of whatever part of a system call must not be cut off, and runs no instruction more after
// the call has returned, however late the system gets round to ending it.
bool terminate_thread(void* handle) noexcept {
  CONTEXT context = {};
  context.ContextFlags = CONTEXT_CONTROL;
  if (SuspendThread(handle) != static_cast<DWORD>(-1)) {
    GetThreadContext(handle, &context);
  }
  const bool is_ended = TerminateThread(handle, 0) != 0;
  if (!is_ended) {
    const DWORD reason = GetLastError();
    ResumeThread(handle);
    SetLastError(reason);
  }
  return is_ended;
}

void close_thread(void* handle) noexcept {
  const DWORD last_error = GetLastError();
  CloseHandle(handle);
  SetLastError(last_error);
}

unsigned int memory_load_percent() noexcept {
  MEMORYSTATUSEX status = {};
  status.dwLength = sizeof(status);
  return GlobalMemoryStatusEx(&status) != 0 ? status.dwMemoryLoad : 0;
}

void end_process(int exit_code) noexcept {
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exit_code));
  for (;;) {  // The call returns before the process is gone.
    Sleep(INFINITE);
  }
}

bool set_group_affinity(std::uint16_t group, std::uint64_t mask) noexcept {
  GROUP_AFFINITY affinity = {};
  affinity.Group = group;
  affinity.Mask = mask;
  return SetThreadGroupAffinity(GetCurrentThread(), &affinity, nullptr) != 0;
}

bool set_ideal_processor(std::uint16_t group, std::uint8_t number) noexcept {
  PROCESSOR_NUMBER processor = {};
  processor.Group = group;
  processor.Number = number;
  return SetThreadIdealProcessorEx(GetCurrentThread(), &processor, nullptr) != 0;
}

}  // namespace orsin::port
