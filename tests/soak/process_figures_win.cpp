// What the process holds, from the lists of the system; see system_lists_win.h.
#include "tests/soak/process_figures.h"

#include <vector>

#include "base/win/windows.h"
#include "tests/support/system_lists_win.h"

#include <psapi.h>
#include <winternl.h>

namespace orsin::soak {
namespace {

std::int64_t count_threads() {
  const std::vector<unsigned char> answer = test::ask_system(SystemProcessInformation);
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
