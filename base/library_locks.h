// The locks of which the process has one, and all of them at once.
//
// Closedown ends threads that still run. One that is ended inside the library would leave its lock
// held for ever, and whoever takes it next would hang: so closedown holds them all, in lock order,
// while it does that. A lock that is not to be had in time, as its owner waits for something that
// does not come, is forgotten afterwards: one thread runs then, and needs none.
#pragma once

#include <array>
#include <cstddef>

#include "base/lock.h"
#include "base/system_locks_port.h"

namespace orsin {

/// In lock order; see lock.h.
enum class LockRank {
  kLibraryLoader,
  kDirectReads,
  kTransfers,
  kSystemAllocations,
  kBackgroundWorker,
  kThreadTable,
  kDirectoryNames,
  kLog,
};
constexpr std::size_t kLockRanks = 8;

/// A mutex that lives from its creation to the end of the process: threads that closedown has not
/// ended yet may still come for it after its part of the library has gone down.
class ORSIN_CAPABILITY("mutex") LibraryMutex : public Mutex {
 public:
  constexpr explicit LibraryMutex(LockRank rank) : rank_(rank) {}

  /// Any thread; a second create() changes nothing. False when memory is exhausted.
  bool create();
  void destroy() = delete;

 private:
  friend class AllLibraryLocks;
  void forget() { handle_.store(nullptr, std::memory_order_release); }

  LockRank rank_;
};

/// Holds every LibraryMutex that exists, and those locks of the system that a thread may hold on the
/// library's behalf. Nothing may be logged, allocated or waited for meanwhile that another thread
/// has a part in.
class AllLibraryLocks {
 public:
  AllLibraryLocks();
  ~AllLibraryLocks();
  AllLibraryLocks(const AllLibraryLocks&) = delete;
  AllLibraryLocks& operator=(const AllLibraryLocks&) = delete;

 private:
  std::array<bool, kLockRanks> is_held_ = {};
  port::SystemLocks system_;
};

}  // namespace orsin
