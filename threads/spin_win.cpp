#include "core/win/windows.h"
#include "threads/spin_wait.h"

namespace orsin::port {

void pause_processor() noexcept {
  YieldProcessor();
}

void yield_processor() noexcept {
  SwitchToThread();
}

}  // namespace orsin::port
