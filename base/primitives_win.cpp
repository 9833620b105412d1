// Mutexes, condition blocks, thread-local keys and sleeps over the Windows primitives.
//
// A mutex is a critical section: taking a free one costs no system call. A condition block is a list
// of its waiters (wait_list.h), each with a word of its own to wait at, instead of the system's
// condition variable: it wakes nobody for the price of one read, and hands a turn over faster.
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <new>

#include "base/spin_wait.h"
#include "base/wait_deadline.h"
#include "base/wait_list.h"
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

// What a sleep and a wake-up cost, about: whoever looks for as long wastes no more than it saves.
constexpr std::chrono::microseconds kLooksTime(20);

// A woken waiter finds its mutex held while the waker is on its way out. Without looks it would sleep
// for that moment, and the system call that wakes it again makes the next one late as well.
constexpr DWORD kSectionLooks = 300;

void initialise(CRITICAL_SECTION& section) {
  InitializeCriticalSectionAndSpinCount(&section, kSectionLooks);  // Always succeeds.
}

// Waits at addresses, with a critical section around the list.
struct WindowsWaits {
  class Section {
   public:
    Section() { initialise(section_); }
    ~Section() { DeleteCriticalSection(&section_); }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

    void lock() { EnterCriticalSection(&section_); }
    void unlock() { LeaveCriticalSection(&section_); }

   private:
    CRITICAL_SECTION section_;
  };

  template <typename T>
  using Atomic = std::atomic<T>;
  using Deadline = orsin::WaitDeadline;

  template <typename Condition>
  [[nodiscard]] static bool spin(Condition is_done) {
    return orsin::spin_until(is_done, kLooksTime);
  }

  static_assert(orsin::kForeverMs == INFINITE);
  [[nodiscard]] static bool wait(Atomic<orsin::WaitState>& word, orsin::WaitState value,
                                 std::uint32_t timeout_ms) {
    return WaitOnAddress(&word, &value, sizeof(value), timeout_ms) != 0;
  }
  static void wake(const void* address) { WakeByAddressSingle(const_cast<void*>(address)); }
};

// A caller's mutex, as the list of waiters takes it.
struct CallersMutex {
  __mutex_str& mutex;
  void lock() { EnterCriticalSection(&mutex.section); }
  void unlock() { LeaveCriticalSection(&mutex.section); }
};

}  // namespace

struct __cond_str {
  orsin::WaitList<WindowsWaits> waiters;
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
  initialise(mutex->section);
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

__cond_str* mp_new_cond_block() {
  return new (std::nothrow) __cond_str;
}

void mp_delete_cond_block(__cond_str* condition) {
  delete condition;
}

void mp_cond_wait(__cond_str* condition, __mutex_str* mutex) {
  CallersMutex callers{*mutex};
  static_cast<void>(condition->waiters.wait(callers, orsin::kForeverMs));
}

int mp_cond_timedwait(__cond_str* condition, __mutex_str* mutex, long long nanoseconds) {
  const std::uint32_t timeout_ms = orsin::whole_milliseconds(nanoseconds);
  // Kept on purpose: below one millisecond this is a poll that reports a time-out without letting
  // go of the mutex.
  if (timeout_ms == 0 || timeout_ms == orsin::kForeverMs) {
    return 0;
  }
  CallersMutex callers{*mutex};
  return condition->waiters.wait(callers, timeout_ms) ? 1 : 0;
}

void mp_cond_signal(__cond_str* condition) {
  condition->waiters.signal();
}

void mp_cond_broadcast(__cond_str* condition) {
  condition->waiters.broadcast();
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
