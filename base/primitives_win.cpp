// Mutexes, condition blocks, thread-local keys and sleeps over the Windows primitives.
//
// A mutex is a critical section: taking a free one costs no system call. A condition block is a
// list of its waiters, each with a word of its own to wait at, instead of the system's condition
// variable:
//
//   - waking nobody, the common case in an executor or a heap, costs one read;
//   - a waiter looks at its word for some microseconds before it sleeps, so that a turn handed over
//     quickly costs no system call on either side;
//   - a signal picks its waiter, the one that has waited longest, and no wait ends without one.
//
// The list's own section is taken after the caller's mutex, for a few instructions.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#include "base/wait_time.h"
#include "base/win/windows.h"
#include "orsincore/log.h"
#include "orsincore/primitives.h"

// A cache line of its own: a section that lies across two costs a third more, and one that shares its
// line with somebody else's data is slow whenever that is written.
struct alignas(64) __mutex_str {
  CRITICAL_SECTION section;
  std::byte rest_of_line[64 - sizeof(CRITICAL_SECTION)];
};
static_assert(offsetof(__mutex_str, section) == 0, "inline_mutex.h takes one for the other");

namespace {

enum : std::uint32_t { kWaiting, kAsleep, kWoken };

// One waiting thread, on its own stack. Whoever sets `state` to kWoken has taken it off the list
// and must not touch it again: the thread may be gone.
struct Waiter {
  Waiter* next = nullptr;
  std::atomic<std::uint32_t> state = kWaiting;
};

}  // namespace

struct __cond_str {
  CRITICAL_SECTION section;  // Guards the list.
  // A waiter appears here while it holds its mutex. Whoever then changes what it waits for, under
  // that mutex, sees it; a signal that overtakes the change would be missed in any case.
  std::atomic<Waiter*> first;
  Waiter* last;
};

struct __tls_key_str {
  DWORD index;
};
static_assert(sizeof(__tls_key_str) == 4);

__mutex_str* mp_new_mutex(int locked, unsigned int /*reserved*/) {
  auto* mutex = new (std::nothrow) __mutex_str;
  if (mutex == nullptr) {
    return nullptr;
  }
  InitializeCriticalSection(&mutex->section);
  if (locked != 0) {
    EnterCriticalSection(&mutex->section);
  }
  return mutex;
}

void mp_delete_mutex(__mutex_str* mutex) {
  if (mutex != nullptr) {
    DeleteCriticalSection(&mutex->section);
    delete mutex;
  }
}

int mp_get_mutex(__mutex_str* mutex) {
  EnterCriticalSection(&mutex->section);
  return 0;
}

int mp_release_mutex(__mutex_str* mutex) {
  LeaveCriticalSection(&mutex->section);
  return 0;
}

int mp_test_mutex(__mutex_str* mutex) {
  return TryEnterCriticalSection(&mutex->section) != 0;
}

namespace {

void append(__cond_str& condition, Waiter& waiter) {
  EnterCriticalSection(&condition.section);
  if (condition.first.load(std::memory_order_relaxed) == nullptr) {
    condition.first.store(&waiter);
  } else {
    condition.last->next = &waiter;
  }
  condition.last = &waiter;
  LeaveCriticalSection(&condition.section);
}

// False when the waiter is not on the list any more: it has been woken.
bool remove(__cond_str& condition, const Waiter& waiter) {
  EnterCriticalSection(&condition.section);
  Waiter* before = nullptr;
  Waiter* found = condition.first.load(std::memory_order_relaxed);
  while (found != nullptr && found != &waiter) {
    before = found;
    found = found->next;
  }
  if (found != nullptr) {
    if (before != nullptr) {
      before->next = found->next;
    } else {
      condition.first.store(found->next);
    }
    if (condition.last == found) {
      condition.last = before;
    }
  }
  LeaveCriticalSection(&condition.section);
  return found != nullptr;
}

// Looks for some 10 microseconds. The time slice is given away now and then: with as many runnable
// threads as processors, this one would hold up the thread it waits for.
bool spin_until_woken(const Waiter& waiter) {
  constexpr int kRounds = 16;
  constexpr int kLooksPerRound = 8;
  for (int round = 0; round < kRounds; ++round) {
    for (int look = 0; look < kLooksPerRound; ++look) {
      if (waiter.state.load(std::memory_order_acquire) == kWoken) {
        return true;
      }
      YieldProcessor();
    }
    SwitchToThread();
  }
  return false;
}

// False when the time was over first.
bool sleep_until_woken(Waiter& waiter, DWORD timeout_ms) {
  std::uint32_t expected = kWaiting;
  if (!waiter.state.compare_exchange_strong(expected, kAsleep)) {
    return true;
  }
  const ULONGLONG start_ms = GetTickCount64();
  DWORD left_ms = timeout_ms;
  std::uint32_t asleep = kAsleep;
  while (waiter.state.load(std::memory_order_acquire) != kWoken) {
    const BOOL in_time = WaitOnAddress(&waiter.state, &asleep, sizeof(asleep), left_ms);
    if (timeout_ms == INFINITE) {
      continue;
    }
    const ULONGLONG passed_ms = GetTickCount64() - start_ms;
    if (in_time == 0 || passed_ms >= timeout_ms) {
      return waiter.state.load(std::memory_order_acquire) == kWoken;
    }
    left_ms = timeout_ms - static_cast<DWORD>(passed_ms);
  }
  return true;
}

bool wait(__cond_str& condition, __mutex_str& mutex, DWORD timeout_ms) {
  Waiter waiter;
  append(condition, waiter);
  LeaveCriticalSection(&mutex.section);
  const bool woken = spin_until_woken(waiter) || sleep_until_woken(waiter, timeout_ms) ||
                     !remove(condition, waiter);
  EnterCriticalSection(&mutex.section);
  return woken;
}

// Takes the first waiter off the list and wakes it; false when there is none. Under the section.
bool wake_first_locked(__cond_str& condition) {
  Waiter* waiter = condition.first.load(std::memory_order_relaxed);
  if (waiter == nullptr) {
    return false;
  }
  condition.first.store(waiter->next);
  void* address = &waiter->state;
  if (waiter->state.exchange(kWoken) == kAsleep) {
    WakeByAddressSingle(address);  // Only the number counts; nothing stands there any more.
  }
  return true;
}

}  // namespace

__cond_str* mp_new_cond_block() {
  auto* condition = new (std::nothrow) __cond_str;
  if (condition != nullptr) {
    InitializeCriticalSection(&condition->section);
    condition->first.store(nullptr);
    condition->last = nullptr;
  }
  return condition;
}

void mp_delete_cond_block(__cond_str* condition) {
  if (condition != nullptr) {
    DeleteCriticalSection(&condition->section);
    delete condition;
  }
}

void mp_cond_wait(__cond_str* condition, __mutex_str* mutex) {
  static_cast<void>(wait(*condition, *mutex, INFINITE));
}

int mp_cond_timedwait(__cond_str* condition, __mutex_str* mutex, long long nanoseconds) {
  const std::uint32_t timeout_ms = orsin::whole_milliseconds(nanoseconds);
  // Kept on purpose: below one millisecond this is a poll that reports a time-out without letting
  // go of the mutex, and callers rely on nothing else running in between.
  if (timeout_ms == 0 || timeout_ms == orsin::kForeverMs) {
    return 0;
  }
  return wait(*condition, *mutex, timeout_ms) ? 1 : 0;
}

void mp_cond_signal(__cond_str* condition) {
  if (condition->first.load() != nullptr) {
    EnterCriticalSection(&condition->section);
    wake_first_locked(*condition);
    LeaveCriticalSection(&condition->section);
  }
}

void mp_cond_broadcast(__cond_str* condition) {
  if (condition->first.load() != nullptr) {
    EnterCriticalSection(&condition->section);
    while (wake_first_locked(*condition)) {
    }
    LeaveCriticalSection(&condition->section);
  }
}

__tls_key_str* mp_key_create() {
  auto* key = new (std::nothrow) __tls_key_str;
  if (key == nullptr) {
    return nullptr;
  }
  key->index = TlsAlloc();
  if (key->index == TLS_OUT_OF_INDEXES) {
    msgerror("Failed to allocate thread local storage: %d", static_cast<int>(GetLastError()));
    delete key;
    return nullptr;
  }
  return key;
}

void mp_key_delete(__tls_key_str* key) {
  if (key != nullptr) {
    TlsFree(key->index);
    delete key;
  }
}

int mp_setspecific(__tls_key_str* key, const void* value) {
  if (TlsSetValue(key->index, const_cast<void*>(value)) == 0) {
    msgerror("Failed to set thread local storage: %d", static_cast<int>(GetLastError()));
    return -1;
  }
  return 0;
}

void* mp_getspecific(__tls_key_str* key) {
  return TlsGetValue(key->index);
}

int mp_timedwait(long long nanoseconds) {
  if (nanoseconds <= orsin::kNanosecondsPerMillisecond) {
    SleepEx(1, TRUE);
    return 0;
  }
  const std::uint32_t sleep_ms = orsin::whole_milliseconds(nanoseconds);
  if (sleep_ms != orsin::kForeverMs) {
    SleepEx(sleep_ms, TRUE);
  }
  return 0;
}

void mp_yield() {
  SleepEx(0, TRUE);
}
