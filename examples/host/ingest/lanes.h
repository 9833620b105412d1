// Several threads that do the same work side by side, while the caller shows how far it is.
#pragma once

#include <atomic>
#include <vector>

#include "orsincore/threads.h"

namespace host::ingest {

/// Starts the lanes, and calls `on_tick` some fifty times a second until all of them have ended.
///
/// @param at_work  Set to the number of lanes; each takes itself off at its end.
/// @return How many could be started.
template <typename Tick>
[[nodiscard]] std::size_t run_lanes(const char* name, int lanes, void (*work)(void*), void* self,
                                    std::atomic<int>& at_work, Tick on_tick) {
  constexpr long long kTickNs = 20'000'000;
  std::vector<unsigned int> threads;
  at_work = lanes;
  for (int i = 0; i < lanes; ++i) {
    const unsigned int thread = mp_start_thread(name, work, self);
    if (thread == 0xFFFFFFFF) {
      at_work -= 1;
    } else {
      threads.push_back(thread);
    }
  }
  while (at_work > 0) {
    mp_timedwait(kTickNs);
    on_tick();
  }
  for (const unsigned int thread : threads) {
    mp_join_thread(thread, 0xFFFFFFFF);
  }
  return threads.size();
}

}  // namespace host::ingest
