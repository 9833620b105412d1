// Handles are counted one by one in the system's list of all handles: Wine answers
// GetProcessHandleCount() with 0, and its list of processes with the room in a table.
#include "tests/soak/process_figures.h"

#include <vector>

#include "base/win/windows.h"

#include <psapi.h>
#include <winternl.h>

namespace orsin::soak {
namespace {

constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);  // STATUS_INFO_LENGTH_MISMATCH
constexpr int kAllHandles = 64;                                    // The extended list.

// With a number for what is asked: the header's enumeration does not have all.
using Query = NTSTATUS(NTAPI*)(int what, void* answer, ULONG size, ULONG* needed);

// As the system lays them out.
struct HandleEntry {
  void* object;
  ULONG_PTR process;
  ULONG_PTR handle;
  ULONG access;
  USHORT trace_index;
  USHORT type_index;
  ULONG attributes;
  ULONG reserved;
};
struct HandleList {
  ULONG_PTR count;
  ULONG_PTR reserved;
  HandleEntry entries[1];
};

// Empty when the system does not tell.
std::vector<unsigned char> ask(int what) {
  const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(&NtQuerySystemInformation));
  std::vector<unsigned char> answer(1 << 16);
  ULONG size = 0;
  NTSTATUS status = 0;
  while ((status = query(what, answer.data(), static_cast<ULONG>(answer.size()), &size)) ==
         kTooSmall) {
    answer.resize(answer.size() * 2);
  }
  if (status != 0) {
    answer.clear();
  }
  return answer;
}

std::int64_t count_handles() {
  const std::vector<unsigned char> answer = ask(kAllHandles);
  if (answer.empty()) {
    return 0;
  }
  const auto* list = reinterpret_cast<const HandleList*>(answer.data());
  std::int64_t count = 0;
  for (ULONG_PTR i = 0; i < list->count; ++i) {
    count += list->entries[i].process == GetCurrentProcessId() ? 1 : 0;
  }
  return count;
}

std::int64_t count_threads() {
  const std::vector<unsigned char> answer = ask(SystemProcessInformation);
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
  return {resident_bytes(), count_handles(), count_threads()};
}

}  // namespace orsin::soak
