// The world group's entry in a directory's access list; see file_system_port.h.
#include <aclapi.h>

#include <memory>

#include "base/wide_path_win.h"
#include "base/win/windows.h"
#include "files/file_system_port.h"

namespace orsin::port {
namespace {

struct LocalFreeBlock {
  void operator()(void* block) const { LocalFree(block); }
};
struct FreeSidBlock {
  void operator()(void* sid) const { FreeSid(sid); }
};
struct CloseFile {
  void operator()(void* handle) const { CloseHandle(handle); }
};

using UniqueLocal = std::unique_ptr<void, LocalFreeBlock>;
using UniqueSid = std::unique_ptr<void, FreeSidBlock>;
using UniqueFile = std::unique_ptr<void, CloseFile>;

UniqueSid world_sid() {
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_WORLD_SID_AUTHORITY;
  PSID sid = nullptr;
  if (AllocateAndInitializeSid(&authority, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &sid) == 0) {
    return nullptr;
  }
  return UniqueSid(sid);
}

// The list with the world group's entry in it.
DWORD merge_everyone(ACL* list, UniqueLocal& merged) {
  char name[] = "EVERYONE";
  const UniqueSid sid = world_sid();
  EXPLICIT_ACCESSA access = {};
  access.grfAccessPermissions = GENERIC_ALL;
  access.grfAccessMode = GRANT_ACCESS;
  access.grfInheritance = SUB_CONTAINERS_AND_OBJECTS_INHERIT;
  access.Trustee.TrusteeForm = sid ? TRUSTEE_IS_SID : TRUSTEE_IS_NAME;
  access.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
  access.Trustee.ptstrName = sid ? static_cast<char*>(sid.get()) : name;

  ACL* result = nullptr;
  const DWORD error = SetEntriesInAclA(1, &access, list, &result);
  merged.reset(result);
  return error;
}

}  // namespace

AccessGrant grant_everyone(const char* dir, std::uint32_t& merge_error) noexcept {
  // Shared with everybody: others who make files in it at once must not keep the grant from it.
  const HANDLE handle = CreateFileW(WidePath(dir), READ_CONTROL | WRITE_DAC,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return AccessGrant::kNotOpened;
  }
  const UniqueFile directory(handle);

  ACL* list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(handle, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                      nullptr, &descriptor) != ERROR_SUCCESS) {
    return AccessGrant::kNotRead;
  }
  const UniqueLocal owner_of_list(descriptor);
  UniqueLocal merged;
  merge_error = merge_everyone(list, merged);
  if (merge_error != ERROR_SUCCESS) {
    return AccessGrant::kNotMerged;
  }
  const DWORD error = SetSecurityInfo(handle, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                      nullptr, static_cast<ACL*>(merged.get()), nullptr);
  return error == ERROR_SUCCESS ? AccessGrant::kGranted : AccessGrant::kNotWritten;
}

}  // namespace orsin::port
