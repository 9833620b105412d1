// The mp_ primitives over the standard library, for builds without Windows.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <thread>
#include <unordered_map>

#include "base/clock_port.h"
#include "base/wait_deadline.h"
#include "base/wait_list.h"
#include "base/wait_time.h"
#include "orsincore/threads.h"
#include "tests/platform/native/counted_primitives.h"
#include "tests/platform/native/fake_clock.h"

struct __mutex_str {
  std::recursive_mutex mutex;
  int holds = 0;  // Of the thread that holds it, and of those who wait with it.
};

namespace {

// What the platform leaves undefined ends the program here.
void refuse_misuse(const char* what) {
  std::fputs(what, stderr);
  std::abort();
}

// All who sleep, at whatever word, share a lock and a condition: slow, and plainly right.
std::mutex sleepers_mutex;
std::condition_variable sleepers_changed;

// Answers the list of waiters, so that the sanitizers see it at work under everything else.
struct NativeWaits {
  using Section = std::mutex;
  template <typename T>
  using Atomic = std::atomic<T>;
  using Deadline = orsin::WaitDeadline;

  template <typename Condition>
  static bool spin(Condition is_done) {
    return is_done();
  }
  static bool wait(Atomic<orsin::WaitState>& word, orsin::WaitState value,
                   std::uint32_t timeout_ms) {
    std::unique_lock guard(sleepers_mutex);
    if (timeout_ms == orsin::kForeverMs) {
      sleepers_changed.wait(guard, [&] { return word.load() != value; });
      return true;
    }
    return sleepers_changed.wait_for(guard, std::chrono::milliseconds(timeout_ms),
                                     [&] { return word.load() != value; });
  }
  static void wake(const void* /*address*/) {
    const std::lock_guard guard(sleepers_mutex);
    sleepers_changed.notify_all();
  }
};

}  // namespace

struct __cond_str {
  orsin::WaitList<NativeWaits> waiters;
};

struct __tls_key_str {
  std::uint64_t identifier;
};

namespace {

thread_local std::unordered_map<std::uint64_t, void*> thread_values;
std::mutex identifier_mutex;
std::uint64_t next_identifier = 1;

}  // namespace

__mutex_str* mp_new_mutex(int locked, unsigned int /*reserved*/) {
  auto* mutex = new (std::nothrow) __mutex_str;
  if (mutex != nullptr && locked != 0) {
    mutex->mutex.lock();
    mutex->holds = 1;
  }
  return mutex;
}

// Under Windows, nobody knows what becomes of those who wait for it.
void mp_delete_mutex(__mutex_str* mutex) {
  if (mutex != nullptr && mutex->holds != 0) {
    refuse_misuse("A mutex was deleted that somebody holds\n");
  }
  delete mutex;
}

int mp_get_mutex(__mutex_str* mutex) {
  ++orsin::test::primitive_calls().locks;
  mutex->mutex.lock();
  ++mutex->holds;
  return 0;
}

// Under Windows, others may wait for ever after a release by who does not hold it.
int mp_release_mutex(__mutex_str* mutex) {
  const bool is_held = mutex->mutex.try_lock() && mutex->holds > 0;
  if (!is_held) {
    refuse_misuse("A mutex was released by a thread that does not hold it\n");
  }
  mutex->mutex.unlock();
  --mutex->holds;
  mutex->mutex.unlock();
  return 0;
}

int mp_test_mutex(__mutex_str* mutex) {
  if (!mutex->mutex.try_lock()) {
    return 0;
  }
  ++mutex->holds;
  return 1;
}

__cond_str* mp_new_cond_block() {
  return new (std::nothrow) __cond_str;
}

void mp_delete_cond_block(__cond_str* condition) {
  delete condition;
}

void mp_cond_wait(__cond_str* condition, __mutex_str* mutex) {
  static_cast<void>(condition->waiters.wait(mutex->mutex, orsin::kForeverMs));
}

int mp_cond_timedwait(__cond_str* condition, __mutex_str* mutex, long long nanoseconds) {
  const std::uint32_t timeout_ms = orsin::whole_milliseconds(nanoseconds);
  if (timeout_ms == 0 || timeout_ms == orsin::kForeverMs) {
    return 0;
  }
  return condition->waiters.wait(mutex->mutex, timeout_ms) ? 1 : 0;
}

void mp_cond_signal(__cond_str* condition) {
  ++orsin::test::primitive_calls().wakes;
  condition->waiters.signal();
}

void mp_cond_broadcast(__cond_str* condition) {
  ++orsin::test::primitive_calls().wakes;
  condition->waiters.broadcast();
}

__tls_key_str* mp_key_create() {
  const std::lock_guard guard(identifier_mutex);
  return new (std::nothrow) __tls_key_str{next_identifier++};
}

void mp_key_delete(__tls_key_str* key) {
  delete key;
}

int mp_setspecific(__tls_key_str* key, const void* value) {
  thread_values[key->identifier] = const_cast<void*>(value);
  return 0;
}

void* mp_getspecific(__tls_key_str* key) {
  const auto found = thread_values.find(key->identifier);
  return found == thread_values.end() ? nullptr : found->second;
}

int mp_timedwait(long long nanoseconds) {
  const std::uint32_t sleep_ms = orsin::whole_milliseconds(nanoseconds);
  if (sleep_ms != orsin::kForeverMs) {
    std::this_thread::sleep_for(std::chrono::milliseconds(sleep_ms == 0 ? 1 : sleep_ms));
  }
  return 0;
}

void mp_yield() {
  std::this_thread::yield();
}

namespace orsin::test {

PrimitiveCalls& primitive_calls() {
  thread_local PrimitiveCalls calls;
  return calls;
}

FakeClock& fake_clock() {
  static FakeClock clock;
  return clock;
}

}  // namespace orsin::test

namespace orsin::port {

bool query_counter_frequency(std::int64_t& frequency) noexcept {
  frequency = test::fake_clock().frequency;
  return !test::fake_clock().refuse_frequency;
}

bool query_counter(std::int64_t& count) noexcept {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  count = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
  if (test::fake_clock().stands_still) {
    count = test::fake_clock().still_count;
  }
  return !test::fake_clock().refuse_count;
}

}  // namespace orsin::port
