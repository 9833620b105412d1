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
#pragma once

#include "base/compiler.h"
#include "orsincore/primitives.h"

namespace orsin {

class ORSIN_CAPABILITY("mutex") Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /// Start and stop; a second create() changes nothing. False when memory is exhausted.
  bool create() {
    if (handle_ == nullptr) {
      handle_ = mp_new_mutex(0, 0);
    }
    return handle_ != nullptr;
  }
  void destroy() {
    if (handle_ != nullptr) {
      mp_delete_mutex(handle_);
      handle_ = nullptr;
    }
  }

  [[nodiscard]] bool exists() const { return handle_ != nullptr; }
  [[nodiscard]] __mutex_str* handle() const { return handle_; }

  void lock() ORSIN_ACQUIRE() {
    if (handle_ != nullptr) {
      mp_get_mutex(handle_);
    }
  }
  void unlock() ORSIN_RELEASE() {
    if (handle_ != nullptr) {
      mp_release_mutex(handle_);
    }
  }

 private:
  __mutex_str* handle_ = nullptr;
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
