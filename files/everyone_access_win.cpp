// New directories are for everybody on the machine; see file_system_port.h.
//
// The application is used by several accounts that share one data directory: what one of them
// creates, the others must be able to write to.
#include <aclapi.h>

#include <memory>

#include "core/win/windows.h"
#include "files/file_system_port.h"
#include "files/wide_path_win.h"
#include "orsincore/log.h"

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

// Merges the world group's entry into a list; null after an error line.
UniqueLocal with_everyone(ACL* list) {
  char name[] = "EVERYONE";
  const UniqueSid sid = world_sid();
  EXPLICIT_ACCESSA access = {};
  access.grfAccessPermissions = GENERIC_ALL;
  access.grfAccessMode = GRANT_ACCESS;
  access.grfInheritance = SUB_CONTAINERS_AND_OBJECTS_INHERIT;
  if (sid) {
    access.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    access.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
    access.Trustee.ptstrName = static_cast<char*>(sid.get());
  } else {
    access.Trustee.TrusteeForm = TRUSTEE_IS_NAME;
    access.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
    access.Trustee.ptstrName = name;
  }

  ACL* merged = nullptr;
  const DWORD result = SetEntriesInAclA(1, &access, list, &merged);
  if (result == ERROR_NONE_MAPPED) {
    msgerror("Directory access: Group 'Everyone' not mapped");
    return nullptr;
  }
  if (result != ERROR_SUCCESS) {
    msgerror("Directory access: Error %d", static_cast<int>(result));
    return nullptr;
  }
  return UniqueLocal(merged);
}

}  // namespace

bool file_grant_everyone_access(const char* dir) {
  const HANDLE handle = CreateFileW(orsin::WidePath(dir), GENERIC_READ | WRITE_DAC, 0, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return true;
  }
  const UniqueFile directory(handle);

  ACL* list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(handle, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                      nullptr, &descriptor) != ERROR_SUCCESS) {
    return false;
  }
  const UniqueLocal owner_of_list(descriptor);
  const UniqueLocal merged = with_everyone(list);
  if (!merged) {
    return false;
  }
  return SetSecurityInfo(handle, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                         static_cast<ACL*>(merged.get()), nullptr) == ERROR_SUCCESS;
}
