// Module state with a destructor that must never run.
//
// A global object would be constructed and destroyed under the loader's lock, and destroyed while
// other modules may still call. The object here is made on first use, in static storage, and lives
// until the process is gone.
#pragma once

#include <cstddef>
#include <new>

namespace orsin {

/// The process's one `T`. Any thread.
template <typename T>
[[nodiscard]] T& process_wide() {
  alignas(T) static std::byte storage[sizeof(T)];
  static T* const instance = ::new (static_cast<void*>(storage)) T;
  return *instance;
}

}  // namespace orsin
