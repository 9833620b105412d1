// The loader's, the stream's and the heaps' locks as Windows has them; see
// base/system_locks_port.h.
#include "base/system_locks_port.h"

#include "base/compiler.h"
#include "base/win/windows.h"

#include <malloc.h>

namespace orsin::port {
namespace {

constexpr ULONGLONG kLoaderPatienceMs = 2000;

// Exported by the system's lowest library since its first version, but declared nowhere.
constexpr ULONG kTryOnly = 2;
constexpr ULONG kAcquired = 1;
using LockLoader = LONG(NTAPI*)(ULONG flags, ULONG* disposition, ULONG_PTR* cookie);
using UnlockLoader = LONG(NTAPI*)(ULONG flags, ULONG_PTR cookie);

template <typename Function>
Function system_function(const char* name) {
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

std::uintptr_t hold_loader() {
  const auto lock = system_function<LockLoader>("LdrLockLoaderLock");
  if (lock == nullptr) {
    return 0;
  }
  const ULONGLONG begin = GetTickCount64();
  for (;;) {
    ULONG disposition = 0;
    ULONG_PTR cookie = 0;
    if (lock(kTryOnly, &disposition, &cookie) == 0 && disposition == kAcquired) {
      return cookie;
    }
    if (GetTickCount64() - begin >= kLoaderPatienceMs) {
      return 0;
    }
    SwitchToThread();
  }
}

void release_loader(std::uintptr_t cookie) {
  const auto unlock = system_function<UnlockLoader>("LdrUnlockLoaderLock");
  if (cookie != 0 && unlock != nullptr) {
    unlock(0, cookie);
  }
}

// Where allocations of C and C++ come from: a heap of its own, or the process's once more.
HANDLE run_time_heap() {
  return reinterpret_cast<HANDLE>(_get_heap_handle());
}

}  // namespace

SystemLocks hold_system_locks(std::FILE* stream) noexcept {
  SystemLocks locks;
  locks.loader_cookie = hold_loader();
  locks.stream = stream;
  if (stream != nullptr) {
    _lock_file(stream);
  }
  HeapLock(run_time_heap());
  HeapLock(GetProcessHeap());
  return locks;
}

void release_system_locks(const SystemLocks& locks) noexcept {
  HeapUnlock(GetProcessHeap());
  HeapUnlock(run_time_heap());
  if (locks.stream != nullptr) {
    _unlock_file(locks.stream);
  }
  release_loader(locks.loader_cookie);
}

}  // namespace orsin::port
