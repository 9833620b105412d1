// Whether a path lies on a removable or on a network drive.
#include "core/win/windows.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace {

constexpr DWORD kMountPointBytes = 261;

// The paths go to the system as they are: these two calls are for the system's own code page.
bool is_on_drive_of(const char* path, UINT kind) {
  char mount_point[kMountPointBytes];
  if (GetVolumePathNameA(path, mount_point, kMountPointBytes) == 0) {
    msgwarn("Failed to find mount point for path '%s'", path);
    return false;
  }
  return GetDriveTypeA(mount_point) == kind;
}

}  // namespace

int is_removable_drive(const char* path) {
  return is_on_drive_of(path, DRIVE_REMOVABLE) ? 1 : 0;
}

int is_remote_network_drive(const char* path) {
  return is_on_drive_of(path, DRIVE_REMOTE) ? 1 : 0;
}
