// New directories are for everybody on the machine.
//
// The application is used by several accounts that share one data directory: what one of them
// creates, the others must be able to write to.
#include "files/file_system_port.h"
#include "orsincore/log.h"

using namespace orsin;

bool file_grant_everyone_access(const char* dir) {
  using port::AccessGrant;
  std::uint32_t merge_error = 0;
  const AccessGrant grant = port::grant_everyone(dir, merge_error);
  if (grant == AccessGrant::kNotMerged) {
    if (merge_error == port::kErrorNoneMapped) {
      msgerror("Directory access: Group 'Everyone' not mapped");
    } else {
      msgerror("Directory access: Error %d", static_cast<int>(merge_error));
    }
  }
  return grant == AccessGrant::kGranted || grant == AccessGrant::kNotOpened;
}
