// Mutexes and conditions through the DLL, against the system's own and the C++ library's.
//
//   MutexPair        take and release a free mutex. Good: within 1.6 of a raw CRITICAL_SECTION, the
//                    difference being two calls into the DLL.
//   ConditionIdle    signal a condition that nobody waits for. Good: far below the raw wake-up.
//   ConditionPingPong  two threads hand a turn back and forth. Good: 200 times as fast as
//                    std::condition_variable while processors are idle.
//   ConditionTimeOut nobody signals a wait of some milliseconds, while busy threads of the same
//                    priority share its one processor. The names' numbers: milliseconds, busy
//                    threads. Good: at most 1.5 times the raw CONDITION_VARIABLE and 1 ms.
#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <list>
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
  void wait_ms(int milliseconds) {
    static_cast<void>(mp_cond_timedwait(condition_, mutex_, milliseconds * 1000000ll));
  }
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
  void wait_ms(int milliseconds) {
    SleepConditionVariableCS(&condition_, &section_, static_cast<DWORD>(milliseconds));
  }
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

// Keeps a processor busy for as long as it lives.
class BusyThread {
 public:
  explicit BusyThread(DWORD_PTR processor)
      : thread_(CreateThread(nullptr, 0, spin, &is_over_, 0, nullptr)) {
    SetThreadAffinityMask(thread_, processor);
  }
  ~BusyThread() {
    is_over_ = true;
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
  }
  BusyThread(const BusyThread&) = delete;
  BusyThread& operator=(const BusyThread&) = delete;

 private:
  static DWORD WINAPI spin(void* is_over) {
    while (!static_cast<const std::atomic<bool>*>(is_over)->load(std::memory_order_relaxed)) {
    }
    return 0;
  }

  std::atomic<bool> is_over_ = false;
  HANDLE thread_;
};

template <typename Lock>
void ConditionTimeOut(benchmark::State& state) {
  constexpr DWORD_PTR kOneProcessor = 1;
  const DWORD_PTR all_processors = SetThreadAffinityMask(GetCurrentThread(), kOneProcessor);
  std::list<BusyThread> busy;
  for (int i = 0; i < static_cast<int>(state.range(1)); ++i) {
    busy.emplace_back(kOneProcessor);
  }
  Lock lock;

  lock.lock();
  for (auto _ : state) {
    lock.wait_ms(static_cast<int>(state.range(0)));
  }
  lock.unlock();

  busy.clear();
  SetThreadAffinityMask(GetCurrentThread(), all_processors);
}
#define ORSIN_TIME_OUTS                  \
  ->ArgsProduct({{1, 10}, {0, 1, 2, 6}}) \
      ->Iterations(40)                   \
      ->UseRealTime()                    \
      ->Unit(benchmark::kMillisecond)
BENCHMARK_TEMPLATE(ConditionTimeOut, OrsinLock) ORSIN_TIME_OUTS;
BENCHMARK_TEMPLATE(ConditionTimeOut, RawLock) ORSIN_TIME_OUTS;

}  // namespace
