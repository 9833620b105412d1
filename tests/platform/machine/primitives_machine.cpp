// The mp_ primitives, the processor's pauses and every clock, as a simulated machine has them.
//
// Condition blocks stand on the list of waiters that the Windows build uses; only the wait at an
// address below it is the machine's.
#include <atomic>
#include <chrono>
#include <ctime>
#include <new>

#include "base/clock_port.h"
#include "base/log_port.h"
#include "base/spin_wait.h"
#include "base/wait_deadline.h"
#include "base/wait_list.h"
#include "base/wait_time.h"
#include "orsincore/primitives.h"
#include "tests/platform/machine/machine.h"

using namespace orsin;
using namespace orsin::simulation;

namespace {

Nanoseconds end_of(std::uint32_t timeout_ms) {
  return timeout_ms == kForeverMs ? kNever : machine().schedule.now() + timeout_ms * kMillisecond;
}

/// As a critical section: its owner may take it again, and whoever comes first when it is free has
/// it.
class Section {
 public:
  Section() = default;
  ~Section() { ORSIN_EXPECT(owner_ == nullptr, "a lock is deleted that somebody holds"); }
  Section(const Section&) = delete;
  Section& operator=(const Section&) = delete;

  void lock() {
    const Outside outside;
    machine().schedule.step("lock");
    while (!try_lock()) {
      static_cast<void>(machine().schedule.wait(this, "a lock"));
    }
  }

  bool try_lock() {
    Task& self = machine().schedule.current();
    if (owner_ != nullptr && owner_ != &self) {
      return false;
    }
    owner_ = &self;
    ++depth_;
    return true;
  }

  void unlock() {
    const Outside outside;
    ORSIN_EXPECT(owner_ == &machine().schedule.current(), "a lock is released by who has it not");
    if (--depth_ == 0) {
      owner_ = nullptr;
      machine().schedule.wake_all(this);
      machine().schedule.step("unlock");
    }
  }

 private:
  Task* owner_ = nullptr;
  int depth_ = 0;
};

struct SimulatedWaits {
  using Section = ::Section;
  template <typename T>
  using Atomic = std::atomic<T>;
  using Deadline = WaitDeadline;

  template <typename Condition>
  static bool spin(Condition is_done) {
    const Outside outside;
    machine().schedule.step("look");
    return is_done();
  }
  static bool wait(Atomic<WaitState>& word, WaitState value, std::uint32_t timeout_ms) {
    const Outside outside;
    machine().schedule.step("wait at address");
    constexpr std::uint64_t kForNoReason = 20;
    if (word.load() != value || machine().chance.one_in(kForNoReason)) {
      return true;
    }
    return machine().schedule.wait(&word, "a condition", end_of(timeout_ms));
  }
  static void wake(const void* address) {
    const Outside outside;
    machine().schedule.step("wake");
    machine().schedule.wake_all(address);
  }
};

}  // namespace

struct __mutex_str {
  Section section;
};

struct __cond_str {
  WaitList<SimulatedWaits> waiters;
};

struct __tls_key_str {
  int unused;
};

__mutex_str* mp_new_mutex(int locked, unsigned int /*reserved*/) {
  auto* mutex = new (std::nothrow) __mutex_str;
  if (mutex == nullptr) {
    return nullptr;
  }
  ++machine().held.mutexes;
  if (locked != 0) {
    mutex->section.lock();
  }
  return mutex;
}

void mp_delete_mutex(__mutex_str* mutex) {
  machine().held.mutexes -= mutex != nullptr ? 1 : 0;
  delete mutex;
}

int mp_get_mutex(__mutex_str* mutex) {
  mutex->section.lock();
  return 0;
}

int mp_release_mutex(__mutex_str* mutex) {
  mutex->section.unlock();
  return 0;
}

int mp_test_mutex(__mutex_str* mutex) {
  const Outside outside;
  machine().schedule.step("try lock");
  return mutex->section.try_lock() ? 1 : 0;
}

__cond_str* mp_new_cond_block() {
  auto* condition = new (std::nothrow) __cond_str;
  machine().held.conditions += condition != nullptr ? 1 : 0;
  return condition;
}

void mp_delete_cond_block(__cond_str* condition) {
  machine().held.conditions -= condition != nullptr ? 1 : 0;
  delete condition;
}

void mp_cond_wait(__cond_str* condition, __mutex_str* mutex) {
  static_cast<void>(condition->waiters.wait(mutex->section, kForeverMs));
}

int mp_cond_timedwait(__cond_str* condition, __mutex_str* mutex, long long nanoseconds) {
  const std::uint32_t timeout_ms = whole_milliseconds(nanoseconds);
  if (timeout_ms == 0 || timeout_ms == kForeverMs) {
    return 0;
  }
  return condition->waiters.wait(mutex->section, timeout_ms) ? 1 : 0;
}

void mp_cond_signal(__cond_str* condition) {
  condition->waiters.signal();
}

void mp_cond_broadcast(__cond_str* condition) {
  condition->waiters.broadcast();
}

__tls_key_str* mp_key_create() {
  {
    Call call("make key");
    if (call.is_refused({kErrorNotEnoughMemory})) {
      return nullptr;
    }
  }
  auto* key = new (std::nothrow) __tls_key_str;
  machine().held.keys += key != nullptr ? 1 : 0;
  return key;
}

void mp_key_delete(__tls_key_str* key) {
  machine().held.keys -= key != nullptr ? 1 : 0;
  delete key;
}

int mp_setspecific(__tls_key_str* key, const void* value) {
  const Outside outside;
  machine().schedule.current().values[key] = const_cast<void*>(value);
  return 0;
}

void* mp_getspecific(__tls_key_str* key) {
  const Outside outside;
  return machine().schedule.current().values[key];
}

int mp_timedwait(long long nanoseconds) {
  const Outside outside;
  const std::uint32_t sleep_ms = whole_milliseconds(nanoseconds);
  if (sleep_ms != kForeverMs) {
    machine().schedule.sleep((sleep_ms == 0 ? 1 : sleep_ms) * kMillisecond);
  }
  return 0;
}

void mp_yield() {
  const Outside outside;
  machine().schedule.sleep(0);
}

namespace orsin::port {

void pause_processor() noexcept {
  const Outside outside;
  machine().schedule.step("pause");
}

void yield_processor() noexcept {
  constexpr Nanoseconds kSwitch = 5 * kMicrosecond;
  const Outside outside;
  machine().schedule.sleep(kSwitch);
}

bool query_counter_frequency(std::int64_t& frequency) noexcept {
  frequency = std::nano::den;
  return true;
}

bool query_counter(std::int64_t& count) noexcept {
  count = machine().schedule.look_at_clock();
  return true;
}

double local_time_of_day() noexcept {
  return static_cast<double>(machine().schedule.now()) / kSecond;
}

}  // namespace orsin::port

// What the C++ library's own clock and sleeps come down to; the program is linked so.
extern "C" {

// A time_point is its nanoseconds, and comes back as they do.
std::int64_t __real__ZNSt6chrono3_V212steady_clock3nowEv();
std::int64_t __wrap__ZNSt6chrono3_V212steady_clock3nowEv() {
  return has_machine() ? machine().schedule.look_at_clock()
                       : __real__ZNSt6chrono3_V212steady_clock3nowEv();
}

int __real_nanosleep(const timespec* time, timespec* left);
int __wrap_nanosleep(const timespec* time, timespec* left) {
  if (!has_machine()) {
    return __real_nanosleep(time, left);
  }
  const Outside outside;
  machine().schedule.sleep(time->tv_sec * kSecond + time->tv_nsec);
  return 0;
}

int __real_sched_yield();
int __wrap_sched_yield() {
  if (!has_machine()) {
    return __real_sched_yield();
  }
  const Outside outside;
  machine().schedule.sleep(0);
  return 0;
}

}  // extern "C"
