// Finding a file by its name: on the search list, or below a directory.
#include <cstdio>
#include <cstring>

#include "base/path_buffer.h"
#include "base/program_paths.h"
#include "files/directory_identity.h"
#include "files/directory_list.h"
#include "files/search_list.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

using namespace orsin;

int file_find(const char* name, char* out) {
  if (name == nullptr || *name == '\0') {
    msgerror("Can't search for NULL file...");
    return 0;
  }
  if (file_exists(name) != 0) {
    if (out != nullptr && out != name) {
      const PathBuffer found(name);
      std::memcpy(out, found.c_str(), found.length() + 1);
    }
    return 1;
  }
  SearchListWalker walker(search_list());
  PathBuffer path;
  while (walker.next(path)) {
    const bool has_separator = path.view().back() == '\\';
    if ((!has_separator && !path.append("\\")) || !path.append(name)) {
      continue;  // Too long for a path: no such file exists.
    }
    if (file_exists(path.c_str()) != 0) {
      if (out != nullptr) {
        std::memcpy(out, path.c_str(), path.length() + 1);
      }
      return 1;
    }
  }
  return 0;
}

int file_search(const char* dir, const char* name, char* out, std::size_t size) {
  if (dir == nullptr || name == nullptr || out == nullptr || size == 0) {
    return 0;
  }
  const char* component = split_path(name).name;
  std::snprintf(out, size, "%s\\%s", dir, component);
  if (file_exists(out) != 0) {
    return 1;
  }
  // The list of something that is no directory would be its parent's.
  const UniqueList list(file_is_directory(dir) != 0 ? flist_new(dir, 1) : nullptr);
  if (!list) {
    return 0;
  }
  for (int i = 0; i < list->dir_count; ++i) {
    PathBuffer subdirectory;
    // What a link to a directory above holds is searched from there.
    if (join_path(subdirectory, dir, list->dirs[i]) && !leads_back(subdirectory.c_str()) &&
        file_search(subdirectory.c_str(), component, out, size) != 0) {
      return 1;
    }
  }
  return 0;
}
