// Holds one of the library's mutexes for as long as it lives.
#pragma once

#include "orsincore/primitives.h"

namespace host::ingest {

class Guard {
 public:
  explicit Guard(__mutex_str* mutex) : mutex_(mutex) { mp_get_mutex(mutex_); }
  ~Guard() { mp_release_mutex(mutex_); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  __mutex_str* mutex_;
};

/// A mutex that is there as long as its owner.
class Mutex {
 public:
  Mutex() : mutex_(mp_new_mutex(0, 0)) {}
  ~Mutex() { mp_delete_mutex(mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  [[nodiscard]] __mutex_str* get() const { return mutex_; }

 private:
  __mutex_str* mutex_;
};

}  // namespace host::ingest
