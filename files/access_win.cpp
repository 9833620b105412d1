// Access for everybody to the directories that the library makes: several users of one machine work
// on the same projects.
#include "core/win/windows.h"
#include "files/directories.h"
#include "orsincore/log.h"
#include "orsincore/text.h"

#include <aclapi.h>
#include <sddl.h>

namespace orsin {
namespace {

template <typename Handle>
class LocalBlock {
 public:
  LocalBlock() = default;
  ~LocalBlock() { LocalFree(handle_); }
  LocalBlock(const LocalBlock&) = delete;
  LocalBlock& operator=(const LocalBlock&) = delete;
  [[nodiscard]] Handle get() const { return handle_; }
  [[nodiscard]] Handle* out() { return &handle_; }

 private:
  Handle handle_ = nullptr;
};

EXPLICIT_ACCESSA everyone_entry(PSID everyone) {
  EXPLICIT_ACCESSA entry = {};
  entry.grfAccessPermissions = GENERIC_ALL;
  entry.grfAccessMode = GRANT_ACCESS;
  entry.grfInheritance = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;
  if (everyone != nullptr) {
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
    entry.Trustee.ptstrName = static_cast<char*>(everyone);
  } else {
    static char name[] = "EVERYONE";
    entry.Trustee.TrusteeForm = TRUSTEE_IS_NAME;
    entry.Trustee.TrusteeType = TRUSTEE_IS_GROUP;
    entry.Trustee.ptstrName = name;
  }
  return entry;
}

bool grant(HANDLE directory) {
  LocalBlock<PSECURITY_DESCRIPTOR> descriptor;
  PACL old_list = nullptr;
  if (GetSecurityInfo(directory, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                      &old_list, nullptr, descriptor.out()) != ERROR_SUCCESS) {
    return false;
  }
  SID_IDENTIFIER_AUTHORITY world = {SECURITY_WORLD_SID_AUTHORITY};
  PSID everyone = nullptr;
  AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone);
  EXPLICIT_ACCESSA entry = everyone_entry(everyone);

  LocalBlock<PACL> new_list;
  const DWORD merged = SetEntriesInAclA(1, &entry, old_list, new_list.out());
  if (everyone != nullptr) {
    FreeSid(everyone);
  }
  if (merged == ERROR_NONE_MAPPED) {
    msgerror("Directory access: Group 'Everyone' not mapped");
    return false;
  }
  if (merged != ERROR_SUCCESS) {
    msgerror("Directory access: Error %d", static_cast<int>(merged));
    return false;
  }
  return SetSecurityInfo(directory, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                         new_list.get(), nullptr) == ERROR_SUCCESS;
}

}  // namespace

bool file_grant_everyone_access(const char* directory) {
  wchar_t wide[kPathBytes];
  HANDLE handle =
      CreateFileW(ov_utf8_to_wchar_n(directory, wide, kPathBytes), READ_CONTROL | WRITE_DAC, 0,
                  nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return true;
  }
  const bool granted = grant(handle);
  CloseHandle(handle);
  return granted;
}

}  // namespace orsin
