// Rotating numbered copies of a file.
//
//   app.log -> app.1.log -> app.2.log -> ... -> app.N.log, the old one of which is removed
//
// The steps run from the highest number down, so each finds its place free.
#include "files/backup_name.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/path_buffer.h"
#include "files/directory_creation.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

void remove_last_generation(const char* path) {
  if (file_delete(path) != 0) {
    msgerror("F-BK: Failed to remove...(%s)", std::strerror(errno));
    msgcont("File: '%s'", path);
  }
}

// Neither name is empty, and no directory of theirs is too long: they are paths that fit.
bool move_generation(const char* from, const char* to) {
  const SplitPath split = split_path(to);
  return std::strcmp(from, to) != 0 && split.has_directory &&
         ensure_directory_part(split.directory) && port::rename_path(from, to);
}

}  // namespace

PathBuffer backup_name(const char* path, int number) {
  const PathBuffer whole(path);
  if (number == 0) {
    return whole;
  }
  // Kept on purpose: the last dot anywhere counts, also one in a directory's name; the number then
  // goes there. And a name without any dot gets numbers that end in one. Required.
  const std::size_t dot = whole.view().rfind('.');
  const std::string_view base = whole.view().substr(0, dot);
  const char* extension = dot != std::string_view::npos ? whole.c_str() + dot + 1 : "";
  char name[kPathBytes];
  std::snprintf(name, sizeof(name), "%.*s.%d.%s", static_cast<int>(base.size()), base.data(),
                number, extension);
  return PathBuffer(name);
}

}  // namespace orsin

using namespace orsin;

int file_backup(const char* path, int generations) {
  if (!fits_path(path)) {
    return 0;  // Cut, it would name another file.
  }
  int steps = 0;
  for (int i = generations - 1; i >= 0; --i) {
    const PathBuffer from = backup_name(path, i);
    const PathBuffer to = backup_name(path, i + 1);
    if (file_exists(from.c_str()) == 0) {
      continue;
    }
    // A number that had no room in the path leaves both names the same.
    if (from.view() != to.view() && file_exists(to.c_str()) != 0) {
      remove_last_generation(to.c_str());
    }
    // Kept on purpose: a step that failed counts as well. The result says how many generations
    // there were. Required.
    if (!move_generation(from.c_str(), to.c_str())) {
      msgerror("F-BK: Failed to rename...(%s)", std::strerror(errno));
      msgcont("File: '%s'", from.c_str());
    }
    ++steps;
  }
  return steps;
}
