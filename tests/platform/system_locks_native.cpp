// No thread is ended by force here, so none can be ended holding a lock of the system: they are counted.
#include "base/system_locks_port.h"
#include "tests/platform/fake_system_locks.h"

namespace orsin {

std::atomic<int>& test::system_locks_held() {
  static std::atomic<int> held = 0;
  return held;
}

namespace port {

SystemLocks hold_system_locks(std::FILE* stream) noexcept {
  ++test::system_locks_held();
  return {stream, 0};
}

void release_system_locks(const SystemLocks& /*locks*/) noexcept {
  --test::system_locks_held();
}

}  // namespace port
}  // namespace orsin
