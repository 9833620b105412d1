#include "tests/support/system_lists_win.h"

#include <algorithm>

#include "base/win/windows.h"

namespace orsin::test {
namespace {

constexpr LONG kTooSmall = static_cast<LONG>(0xC0000004);  // STATUS_INFO_LENGTH_MISMATCH
constexpr int kAllHandles = 64;                            // The extended list.

using QuerySystem = LONG(NTAPI*)(int list, void* answer, ULONG size, ULONG* needed);

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

}  // namespace

std::vector<unsigned char> ask_system(int list) {
  const auto query = reinterpret_cast<QuerySystem>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  std::vector<unsigned char> answer(1 << 16);
  ULONG needed = 0;
  LONG status = 0;
  while ((status = query(list, answer.data(), static_cast<ULONG>(answer.size()), &needed)) ==
         kTooSmall) {
    answer.resize(answer.size() * 2);
  }
  if (status != 0) {
    answer.clear();
  }
  return answer;
}

std::size_t count_own_handles() {
  const std::vector<unsigned char> answer = ask_system(kAllHandles);
  if (answer.empty()) {
    return 0;
  }
  const auto* list = reinterpret_cast<const HandleList*>(answer.data());
  return static_cast<std::size_t>(std::count_if(
      list->entries, list->entries + list->count,
      [](const HandleEntry& entry) { return entry.process == GetCurrentProcessId(); }));
}

}  // namespace orsin::test
