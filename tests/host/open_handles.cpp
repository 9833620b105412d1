#include "tests/host/open_handles.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "base/win/windows.h"

namespace orsin::test {
namespace {

constexpr int kSystemExtendedHandleInformation = 64;
constexpr LONG kLengthMismatch = static_cast<LONG>(0xC0000004);

struct HandleEntry {
  void* object;
  ULONG_PTR process;
  ULONG_PTR handle;
  ULONG access;
  USHORT trace;
  USHORT type;
  ULONG attributes;
  ULONG reserved;
};

struct HandleTable {
  ULONG_PTR count;
  ULONG_PTR reserved;
  HandleEntry first;
};

void open_the_registry() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software", 0, KEY_READ, &key) == ERROR_SUCCESS) {
    RegCloseKey(key);
  }
}

using QuerySystem = LONG(NTAPI*)(int what, void* answer, ULONG size, ULONG* needed);

}  // namespace

std::size_t open_handles() {
  static std::once_flag is_open;
  std::call_once(is_open, open_the_registry);
  const auto query = reinterpret_cast<QuerySystem>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  std::vector<HandleTable> room(4096);
  ULONG needed = 0;
  LONG status = kLengthMismatch;
  while (status == kLengthMismatch) {
    room.resize(room.size() * 2);
    status = query(kSystemExtendedHandleInformation, room.data(),
                   static_cast<ULONG>(room.size() * sizeof(HandleTable)), &needed);
  }
  if (status != 0) {
    std::abort();  // A count that is not known is no count.
  }
  const HandleEntry* entries = &room.front().first;
  return static_cast<std::size_t>(std::count_if(
      entries, entries + room.front().count,
      [](const HandleEntry& entry) { return entry.process == GetCurrentProcessId(); }));
}

}  // namespace orsin::test
