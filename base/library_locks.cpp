// Holds, and forgets, every lock of which the process has one; see the header.
#include "base/library_locks.h"

#include <chrono>
#include <thread>

#include "base/spin_wait.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

using Clock = std::chrono::steady_clock;

// Who holds a lock for longer than this waits for something under it. Not a limit that a busy
// process comes near to: nobody but us stands in line.
constexpr std::chrono::seconds kPatience(2);
constexpr std::chrono::milliseconds kBetweenLooks(1);

// By rank; null where a mutex has not been created yet.
constinit std::array<std::atomic<LibraryMutex*>, kLockRanks> library_mutexes = {};

bool take_in_time(__mutex_str* mutex) {
  const Clock::time_point deadline = Clock::now() + kPatience;
  while (mp_test_mutex(mutex) == 0) {
    if (Clock::now() >= deadline) {
      return false;
    }
    port::yield_processor();
  }
  return true;
}

}  // namespace

void take_without_queueing(__mutex_str* mutex) {
  do {  // First of all: who takes a lock again and again would have it again before we see it free.
    std::this_thread::sleep_for(kBetweenLooks);
  } while (mp_test_mutex(mutex) == 0);
}

bool LibraryMutex::create() {
  if (!exists()) {
    __mutex_str* created = mp_new_mutex(0, 0);
    __mutex_str* none = nullptr;
    if (!handle_.compare_exchange_strong(none, created)) {
      mp_delete_mutex(created);  // Another thread was quicker.
    }
    library_mutexes[static_cast<std::size_t>(rank_)].store(this);
  }
  return exists();
}

AllLibraryLocks::AllLibraryLocks() {
  locks_are_collected.store(true);
  for (std::size_t rank = 0; rank < kLockRanks; ++rank) {
    LibraryMutex* mutex = library_mutexes[rank].load();
    __mutex_str* handle = mutex != nullptr ? mutex->handle() : nullptr;
    is_held_[rank] = handle != nullptr && take_in_time(handle);
  }
  system_ = port::hold_system_locks(msg_get_file());
}

AllLibraryLocks::~AllLibraryLocks() {
  port::release_system_locks(system_);
  for (std::size_t rank = kLockRanks; rank-- > 0;) {
    LibraryMutex* mutex = library_mutexes[rank].load();
    if (is_held_[rank]) {
      mp_release_mutex(mutex->handle());
    } else if (mutex != nullptr) {
      mutex->forget();
    }
  }
  locks_are_collected.store(false);
}

}  // namespace orsin
