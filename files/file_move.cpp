// Giving a file another name.
#include <cstring>

#include "base/path_buffer.h"
#include "files/directory_creation.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"

using namespace orsin;

int file_move(const char* src, const char* dst, bool overwrite) {
  if (src == nullptr || *src == '\0') {
    return -6;
  }
  if (dst == nullptr || *dst == '\0') {
    return -10;
  }
  if (std::strcmp(src, dst) == 0) {
    return -9;
  }
  // Kept on purpose: overwriting only skips this question. The rename below does not replace a
  // file, so an existing destination then gives -11 and both files stay.
  if (!overwrite && file_exists(dst) != 0) {
    return -7;
  }
  const SplitPath split = split_path(dst);
  if (!split.has_directory || split.directory.size() >= kPathBytes) {
    return -4;
  }
  if (!ensure_directory_part(split.directory)) {
    return -5;
  }
  return port::rename_path(src, dst) ? 0 : -11;
}
