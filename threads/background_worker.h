// The background worker, as closedown and its tests see it; OV_Thread is its public face.
#pragma once

#include <cstdint>

#include "orsincore/threads.h"

namespace orsin {

/// What the worker finds in its queue.
struct ov_run_cmd {
  std::int32_t code;  // kQuitCommand or kRunCommand.
  OV_Thread* object;  // Null for quit.
};

constexpr std::int32_t kQuitCommand = 0;
constexpr std::int32_t kRunCommand = 1;

/// OV_Thread::Destroy() with a time-out of the caller's, for the wait as a whole.
void stop_background_worker(std::uint32_t timeout_ms);

/// Forgets a worker whose thread has been ended: one that did not stop in time, or that another thread
/// has started since. While one thread runs.
void forget_background_worker();

}  // namespace orsin
