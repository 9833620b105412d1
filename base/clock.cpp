// Seconds since the clock was initialised, from the high-resolution counter.
//
// One counter read and one division a call: the log asks for every head line. Start-up initialises
// it while one thread runs; afterwards frequency and base are constant. The failure count is
// written without a lock: a race can only repeat a warning.
#include "base/clock.h"

#include <atomic>

#include "base/clock_port.h"
#include "base/system_error_text.h"
#include "orsincore/log.h"
#include "orsincore/primitives.h"

namespace orsin {
namespace {

struct Clock {
  double frequency = 0.0;  // Counts per second; 0: not initialised or unusable.
  std::int64_t base_count = 0;
  std::atomic<std::int64_t> last_count = 0;
  std::atomic<unsigned> failure_count = 0;
};

constinit Clock clock_state;

// True for the first failure of the process. Counting before the warning is written keeps the log,
// which asks for the time itself, from warning without end.
bool is_first_failure() {
  return clock_state.failure_count.fetch_add(1, std::memory_order_relaxed) == 0;
}

}  // namespace

void start_clock() {
  if (clock_state.frequency > 0.0) {
    return;
  }
  std::int64_t frequency = 0;
  const bool usable = port::query_counter_frequency(frequency) && frequency >= 1 &&
                      port::query_counter(clock_state.base_count);
  clock_state.frequency = usable ? static_cast<double>(frequency) : 0.0;
  if (!usable) {
    clock_state.failure_count.store(1, std::memory_order_relaxed);  // Never warned about again.
  }
  clock_state.last_count.store(clock_state.base_count, std::memory_order_relaxed);
}

void reset_clock() {
  clock_state.frequency = 0.0;
  clock_state.base_count = 0;
  clock_state.last_count.store(0, std::memory_order_relaxed);
  clock_state.failure_count.store(0, std::memory_order_relaxed);
}

}  // namespace orsin

using namespace orsin;

double mp_getclock() {
  std::int64_t count = 0;
  if (clock_state.frequency > 0.0 && port::query_counter(count)) {
    const double seconds =
        static_cast<double>(count - clock_state.base_count) / clock_state.frequency;
    if (seconds > 0.0) {
      clock_state.last_count.store(count, std::memory_order_relaxed);
    } else if (is_first_failure()) {
      msgwarn("HIGH-Res. timer failed(1)...");
    }
    return seconds;
  }
  if (is_first_failure()) {
    msgwarn("HIGH-Res. timer failed(2)...");
    msgcont("%s", SystemErrorText().c_str());
  }
  return 0.0;
}

double mp_getclockfrequency() {
  start_clock();
  return clock_state.frequency;
}
