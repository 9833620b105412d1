// Locks inside the library: an owned mutex that Clang's analysis understands, and its scope guard.
//
// A mutex may not exist yet or no longer: before start-up and after closedown one thread runs, and
// the guard then does nothing.
//
// Lock order. Whoever holds a lock may take one further down, never one further up:
//
//   1. the library loader                      modules/library_loader.cpp
//   2. the readers' direct-transfer mutex      files/direct_reads.cpp
//   3. the I/O transfer slots                  files/transfer_slots.cpp
//   4. a movable-block heap                    memory/movable_heap.cpp
//   5. the table of system allocations         memory/os_allocation.cpp
//   6. which background worker there is        threads/background_worker.cpp
//   7. the thread table                        threads/thread_table.cpp
//   8. the worker's state, then its ring       threads/background_worker.cpp
//   9. the executor's queue, then its ring     threads/executor.cpp
//  10. the message log                         base/message_log.cpp
//
// Held beside none of these but the log: the directory names (files/name_cache.cpp), a line of jobs
// (threads/job_line.cpp), the executor's count of parts done.
//
// The log comes last, so code that holds any other lock may log. Nobody waits for another thread
// while holding the log.
//
// Those of which the process has one are a LibraryMutex (library_locks.h): closedown holds them all
// while it ends threads, so that none is ended holding one.
#pragma once

#include <atomic>

#include "base/compiler.h"
#include "orsincore/primitives.h"

namespace orsin {

/// While closedown collects the library's locks, nobody queues up for one: where a lock is handed
/// from waiter to waiter, a queue that never ends would keep closedown out.
inline constinit std::atomic<bool> locks_are_collected = false;

/// Takes the mutex as one of many who look again and again.
void take_without_queueing(__mutex_str* mutex);

class ORSIN_CAPABILITY("mutex") Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /// Start and stop; a second create() changes nothing. False when memory is exhausted.
  bool create() {
    if (!exists()) {
      handle_.store(mp_new_mutex(0, 0), std::memory_order_release);
    }
    return exists();
  }
  void destroy() { mp_delete_mutex(handle_.exchange(nullptr)); }

  [[nodiscard]] bool exists() const { return handle() != nullptr; }
  [[nodiscard]] __mutex_str* handle() const { return handle_.load(std::memory_order_acquire); }

  void lock() ORSIN_ACQUIRE() {
    __mutex_str* mutex = handle();
    if (mutex == nullptr) {
      return;
    }
    if (locks_are_collected.load(std::memory_order_relaxed)) {
      take_without_queueing(mutex);
      return;
    }
    mp_get_mutex(mutex);
  }
  void unlock() ORSIN_RELEASE() {
    if (__mutex_str* mutex = handle()) {
      mp_release_mutex(mutex);
    }
  }

 protected:
  std::atomic<__mutex_str*> handle_ = nullptr;
};

class ORSIN_SCOPED_CAPABILITY ScopedLock {
 public:
  explicit ScopedLock(Mutex& mutex) ORSIN_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~ScopedLock() ORSIN_RELEASE() { mutex_.unlock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  Mutex& mutex_;
};

}  // namespace orsin
