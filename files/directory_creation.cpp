// Making directories, alone or with everything above them.
#include <cerrno>
#include <cstring>

#include "base/given_text.h"
#include "base/path_buffer.h"
#include "files/directory_creation.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/paths.h"

namespace orsin {
namespace {

constexpr std::size_t kDriveLength = 2;  // "C:" is never created.

bool make_open_directory(const char* path) {
  if (!port::make_directory(path)) {
    return false;
  }
  // The directory is usable for its maker even if others stay locked out.
  static_cast<void>(file_grant_everyone_access(path));
  return true;
}

// Makes the nearest ancestor that can be made and then everything below it, `path` included.
//
// Others may make the same directories meanwhile: whoever finds one made goes on as if it were its
// own. The backslash that was cut off is remembered by where the text ends.
bool make_with_ancestors(const char* path) {
  PathBuffer ancestor;
  if (!fits_path(path)) {
    return false;
  }
  const std::size_t length = std::strlen(path);
  ancestor.cut_assign(path);
  do {
    const SplitPath split = split_path(ancestor.c_str());
    if (!split.has_directory || split.directory.empty()) {
      return false;
    }
    ancestor.truncate(split.directory.size());
  } while (!make_open_directory(ancestor.c_str()) && file_is_directory(ancestor.c_str()) == 0);

  while (ancestor.length() < length) {
    const char* next = std::strchr(path + ancestor.length() + 1, '\\');
    ancestor.cut_assign({path, next != nullptr ? static_cast<std::size_t>(next - path) : length});
    const bool is_whole = ancestor.length() == length;
    if (!make_open_directory(ancestor.c_str()) &&
        (is_whole || file_is_directory(ancestor.c_str()) == 0)) {
      return false;
    }
  }
  return true;
}

bool is_absolute(const char* dir) {
  return dir[0] == '\\' || (dir[0] != '\0' && dir[1] == ':');
}

// Where making it fails somebody else may have made it in between.
bool is_or_becomes_directory(const char* path) {
  return file_is_directory(path) != 0 || file_create_directory(path, true) >= 0 ||
         file_is_directory(path) != 0;
}

}  // namespace

bool resolve_directory(PathBuffer& path, const char* dir) {
  if (is_absolute(dir)) {
    return path.append(dir);
  }
  return path.append(file_get_data()) && (path.ends_in_separator() || path.append("\\")) &&
         path.append(dir);
}

bool ensure_directory_part(std::string_view directory) {
  const PathBuffer path(directory);
  return is_or_becomes_directory(path.c_str());
}

}  // namespace orsin

using namespace orsin;

int file_create_directory(const char* path, bool parents) {
  if (make_open_directory(path)) {
    return 0;
  }
  if (!parents || !make_with_ancestors(path)) {
    return -1;
  }
  return 1;
}

char* file_ensure_directory(const char* dir, const char* name, char* out) {
  static char own_buffer[kPathBytes];
  if (out == nullptr) {
    out = own_buffer;
  }
  PathBuffer path;
  if (!resolve_directory(path, given(dir))) {
    return nullptr;
  }
  if (path.ends_in_separator()) {
    path.truncate(path.length() - 1);
  }
  if (path.length() > kDriveLength && !is_or_becomes_directory(path.c_str())) {
    msgerror("Error creating directory %s : %s\n", path.c_str(), std::strerror(errno));
    return nullptr;
  }
  // At 259 bytes there is no room for a separator: the directory is returned as it is.
  const bool has_separator = path.append_separator();
  if (name != nullptr && *name != '\0' && (!has_separator || !path.append(name))) {
    return nullptr;
  }
  std::memcpy(out, path.c_str(), path.length() + 1);
  return out;
}
