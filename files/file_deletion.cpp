// Deleting files and directories.
#include "base/path_buffer.h"
#include "files/directory_identity.h"
#include "files/directory_list.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"

using namespace orsin;

int file_delete(const char* path) {
  if (port::remove_file(path)) {
    return 0;
  }
  return file_is_directory(path) != 0 && port::remove_directory(path) ? 0 : -1;
}

int file_delete_directory(const char* path, bool recursive) {
  // The list of something that is no directory would be its parent's. That of a link would be the
  // list of what it leads to, which is not ours to delete: the link itself goes, as an entry.
  const bool is_entered = file_is_directory(path) != 0 && !is_directory_link(path);
  const UniqueList list(is_entered ? flist_new(path, 1) : nullptr);
  if (!list) {
    return file_delete(path) == 0 ? 1 : -1;
  }
  PathBuffer entry;
  if (recursive) {
    for (int i = 0; i < list->dir_count; ++i) {
      // Kept on purpose: a subdirectory that could not be emptied does not stop the walk. Required;
      // the removal of `path` itself then reports the failure.
      if (join_path(entry, path, list->dirs[i])) {
        file_delete_directory(entry.c_str(), true);
      }
    }
  }
  for (int i = 0; i < list->file_count; ++i) {
    if (!join_path(entry, path, list->files[i]) || file_delete(entry.c_str()) != 0) {
      return -1;
    }
  }
  return file_delete(path) == 0 ? 1 : -1;
}
