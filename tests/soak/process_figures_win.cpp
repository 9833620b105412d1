// What the process holds, as the system tells it.
#include "tests/soak/process_figures.h"

#include <vector>

#include "base/win/windows.h"
#include "tests/support/handle_count_win.h"

#include <psapi.h>
#include <winternl.h>

namespace orsin::soak {
namespace {

using QuerySystem = LONG(NTAPI*)(int list, void* answer, ULONG size, ULONG* needed);

// The list of processes, as the system lays it out; empty when it does not tell.
std::vector<unsigned char> list_processes() {
  constexpr LONG kTooSmall = static_cast<LONG>(0xC0000004);  // STATUS_INFO_LENGTH_MISMATCH
  const auto query = reinterpret_cast<QuerySystem>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  std::vector<unsigned char> answer(1 << 16);
  ULONG needed = 0;
  LONG status = 0;
  while ((status = query(SystemProcessInformation, answer.data(), static_cast<ULONG>(answer.size()),
                         &needed)) == kTooSmall) {
    answer.resize(answer.size() * 2);
  }
  if (status != 0) {
    answer.clear();
  }
  return answer;
}

std::int64_t count_threads() {
  const std::vector<unsigned char> answer = list_processes();
  for (std::size_t place = 0; place < answer.size();) {
    const auto* process =
        reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(answer.data() + place);
    if (reinterpret_cast<ULONG_PTR>(process->UniqueProcessId) == GetCurrentProcessId()) {
      return process->NumberOfThreads;
    }
    if (process->NextEntryOffset == 0) {
      break;
    }
    place += process->NextEntryOffset;
  }
  return 0;
}

std::int64_t resident_bytes() {
  PROCESS_MEMORY_COUNTERS memory = {};
  return GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory)) != 0
             ? static_cast<std::int64_t>(memory.WorkingSetSize)
             : 0;
}

}  // namespace

ProcessFigures process_figures() {
  return {resident_bytes(), static_cast<std::int64_t>(test::count_own_handles()), count_threads()};
}

}  // namespace orsin::soak
