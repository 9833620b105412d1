// The pauses of spin_wait.h, as Windows has them.
#include "base/spin_wait.h"
#include "base/win/windows.h"

namespace orsin::port {

void pause_processor() noexcept {
  YieldProcessor();
}

void yield_processor() noexcept {
  SwitchToThread();
}

}  // namespace orsin::port
