// Mutexes and conditions through the DLL, against the system's own and the C++ library's.
//
//   MutexPair        take and release a free mutex. Good: within 1.6 of a raw CRITICAL_SECTION, the
//                    difference being two calls into the DLL.
//   ConditionIdle    signal a condition that nobody waits for. Good: far below the raw wake-up.
//   ConditionPingPong  two threads hand a turn back and forth. Good: 8 times as fast as
//                    std::condition_variable, and level with the raw CONDITION_VARIABLE.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "base/win/windows.h"
#include "orsincore/threads.h"

namespace {

// Each locks, waits and wakes its own way behind the same four names.
class OrsinLock {
 public:
  OrsinLock() : mutex_(mp_new_mutex(0, 0)), condition_(mp_new_cond_block()) {}
  ~OrsinLock() {
    mp_delete_cond_block(condition_);
    mp_delete_mutex(mutex_);
  }
  void lock() { mp_get_mutex(mutex_); }
  void unlock() { mp_release_mutex(mutex_); }
  void wait() { mp_cond_wait(condition_, mutex_); }
  void wake() { mp_cond_signal(condition_); }

 private:
  __mutex_str* mutex_;
  __cond_str* condition_;
};

class RawLock {
 public:
  RawLock() {
    InitializeCriticalSection(&section_);
    InitializeConditionVariable(&condition_);
  }
  ~RawLock() { DeleteCriticalSection(&section_); }
  void lock() { EnterCriticalSection(&section_); }
  void unlock() { LeaveCriticalSection(&section_); }
  void wait() { SleepConditionVariableCS(&condition_, &section_, INFINITE); }
  void wake() { WakeConditionVariable(&condition_); }

 private:
  CRITICAL_SECTION section_;
  CONDITION_VARIABLE condition_;
};

class StandardLock {
 public:
  void lock() { mutex_.lock(); }
  void unlock() { mutex_.unlock(); }
  void wait() {
    std::unique_lock guard(mutex_, std::adopt_lock);
    condition_.wait(guard);
    guard.release();
  }
  void wake() { condition_.notify_one(); }

 private:
  std::mutex mutex_;
  std::condition_variable condition_;
};

template <typename Lock>
void MutexPair(benchmark::State& state) {
  Lock lock;
  for (auto _ : state) {
    lock.lock();
    benchmark::ClobberMemory();
    lock.unlock();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(MutexPair, OrsinLock);
BENCHMARK_TEMPLATE(MutexPair, RawLock);
BENCHMARK_TEMPLATE(MutexPair, StandardLock);

template <typename Lock>
void ConditionIdle(benchmark::State& state) {
  Lock lock;
  for (auto _ : state) {
    lock.wake();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(ConditionIdle, OrsinLock);
BENCHMARK_TEMPLATE(ConditionIdle, RawLock);
BENCHMARK_TEMPLATE(ConditionIdle, StandardLock);

// One iteration is a turn there and back.
template <typename Lock>
void ConditionPingPong(benchmark::State& state) {
  constexpr int kStop = 2;
  Lock lock;
  int turn = 0;  // 0: ours, 1: the other's.
  std::thread other([&] {
    lock.lock();
    while (turn != kStop) {
      if (turn == 1) {
        turn = 0;
        lock.wake();
      }
      lock.wait();
    }
    lock.unlock();
  });

  lock.lock();
  for (auto _ : state) {
    turn = 1;
    lock.wake();
    while (turn != 0) {
      lock.wait();
    }
  }
  turn = kStop;
  lock.wake();
  lock.unlock();
  other.join();
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(ConditionPingPong, OrsinLock)->UseRealTime();
BENCHMARK_TEMPLATE(ConditionPingPong, RawLock)->UseRealTime();
BENCHMARK_TEMPLATE(ConditionPingPong, StandardLock)->UseRealTime();

}  // namespace
