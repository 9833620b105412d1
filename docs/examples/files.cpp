#include "orsincore/files.h"

#include "orsincore/log.h"
#include "orsincore/text.h"

//! [example]
void list_takes(const char* folder) {
  dir_list* list = flist_new(folder, 1);  // In natural order: take9 comes before take10.
  if (list == nullptr) {
    return;
  }
  for (int i = 0; i < list->file_count; ++i) {
    msginfo("%s", list->files[i]);
  }
  flist_delete(list);
}

bool copy_take(const char* source, const char* copy) {
  unsigned long long bytes = 0;
  md5_state_s md5;
  const int code = file_copy_secure(source, copy, false, bytes, md5, 3, nullptr, nullptr);
  if (code != 0) {
    get_error_file_copy_secure(code, true);  // Writes what went wrong into the log.
  }
  return code == 0;
}
//! [example]
