// Mutexes, condition blocks, thread-local keys and sleeps over the Windows primitives.
//
// A mutex is a critical section: taking a free one costs no system call. A condition block is a
// condition variable with a count of its waiters, because waking nobody is the common case in an
// executor or a heap and costs twice a mutex otherwise.
#include <atomic>
#include <new>

#include "core/win/windows.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"
#include "threads/wait_time.h"

struct __mutex_str {
  CRITICAL_SECTION section;
};

struct __cond_str {
  CONDITION_VARIABLE variable;
  // Raised by a waiter that still holds its mutex. Whoever then changes what it waits for, under
  // that mutex, sees the count; a signal that overtakes the change could be missed with or without
  // the count.
  std::atomic<int> waiters;
};

struct __tls_key_str {
  DWORD index;
};

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

__cond_str* mp_new_cond_block() {
  auto* condition = new (std::nothrow) __cond_str;
  if (condition != nullptr) {
    InitializeConditionVariable(&condition->variable);
    condition->waiters.store(0);
  }
  return condition;
}

void mp_delete_cond_block(__cond_str* condition) {
  delete condition;
}

void mp_cond_wait(__cond_str* condition, __mutex_str* mutex) {
  condition->waiters.fetch_add(1);
  SleepConditionVariableCS(&condition->variable, &mutex->section, INFINITE);
  condition->waiters.fetch_sub(1);
}

int mp_cond_timedwait(__cond_str* condition, __mutex_str* mutex, long long nanoseconds) {
  const std::uint32_t timeout_ms = orsin::whole_milliseconds(nanoseconds);
  // Kept on purpose: below one millisecond this is a poll that reports a time-out without letting
  // go of the mutex, and callers rely on nothing else running in between.
  if (timeout_ms == 0 || timeout_ms == orsin::kForeverMs) {
    return 0;
  }
  condition->waiters.fetch_add(1);
  const BOOL woken = SleepConditionVariableCS(&condition->variable, &mutex->section, timeout_ms);
  condition->waiters.fetch_sub(1);
  return woken;
}

void mp_cond_signal(__cond_str* condition) {
  if (condition->waiters.load() > 0) {
    WakeConditionVariable(&condition->variable);
  }
}

void mp_cond_broadcast(__cond_str* condition) {
  if (condition->waiters.load() > 0) {
    WakeAllConditionVariable(&condition->variable);
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
