// No thread is ended by force here, so none can be ended holding a lock of the system.
#include "base/system_locks_port.h"

namespace orsin::port {

SystemLocks hold_system_locks(std::FILE* stream) noexcept {
  return {stream, 0};
}

void release_system_locks(const SystemLocks& /*locks*/) noexcept {}

}  // namespace orsin::port
