// Rotating numbered copies of a file.
//
//   app.log -> app.1.log -> app.2.log -> ... -> app.N.log, the old one of which is removed
//
// The steps run from the highest number down, so each finds its place free.
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

// "%s.%d.%s" of what stands before and after the path's last dot.
class BackupNames {
 public:
  explicit BackupNames(const char* path) : path_(path) {
    // Kept on purpose: the last dot anywhere counts, also one in a directory's name; the number
    // then goes there. And a name without any dot gets numbers that end in one. Rotations of
    // earlier versions are continued only under the same names.
    const std::size_t dot = path_.view().rfind('.');
    base_ = path_.view().substr(0, dot);
    extension_ = dot != std::string_view::npos ? path_.view().substr(dot + 1) : "";
  }
  BackupNames(const BackupNames&) = delete;  // The views point into path_.
  BackupNames& operator=(const BackupNames&) = delete;

  /// Number 0 is the path itself. Cut to 260 bytes.
  [[nodiscard]] PathBuffer numbered(int number) const {
    if (number == 0) {
      return path_;
    }
    char name[kPathBytes];
    std::snprintf(name, sizeof(name), "%.*s.%d.%.*s", static_cast<int>(base_.size()), base_.data(),
                  number, static_cast<int>(extension_.size()), extension_.data());
    return PathBuffer(name);
  }

 private:
  PathBuffer path_;
  std::string_view base_;
  std::string_view extension_;
};

void remove_last_generation(const char* path) {
  if (file_delete(path) != 0) {
    msgerror("F-BK: Failed to remove...(%s)", std::strerror(errno));
    msgcont("File: '%s'", path);
  }
}

bool move_generation(const char* from, const char* to) {
  if (*from == '\0' || *to == '\0' || std::strcmp(from, to) == 0) {
    return false;
  }
  const SplitPath split = split_path(to);
  return split.has_directory && split.directory.size() < kPathBytes &&
         ensure_directory_part(split.directory) && port::rename_path(from, to);
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int file_backup(const char* path, int generations) {
  if (!fits_path(path)) {
    return 0;  // Cut, it would name another file.
  }
  const BackupNames names(path);
  int steps = 0;
  for (int i = generations - 1; i >= 0; --i) {
    const PathBuffer from = names.numbered(i);
    const PathBuffer to = names.numbered(i + 1);
    if (file_exists(from.c_str()) == 0) {
      continue;
    }
    // A number that had no room in the path leaves both names the same.
    if (from.view() != to.view() && file_exists(to.c_str()) != 0) {
      remove_last_generation(to.c_str());
    }
    // Kept on purpose: a step that failed counts as well. The result says how many generations
    // there were, which is what callers print.
    if (!move_generation(from.c_str(), to.c_str())) {
      msgerror("F-BK: Failed to rename...(%s)", std::strerror(errno));
      msgcont("File: '%s'", from.c_str());
    }
    ++steps;
  }
  return steps;
}
