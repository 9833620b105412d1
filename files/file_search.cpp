// Finding files, on the search list and below a directory, and moving them.
#include <cstdio>
#include <cstring>

#include "core/program_paths.h"
#include "files/directories.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr std::size_t kVariableBytes = 512;

// Appends to a path of kPathBytes; what does not fit is cut.
void append(char* path, const char* text, std::size_t length) {
  const std::size_t used = std::strlen(path);
  const std::size_t room = kPathBytes - 1 - used;
  const std::size_t count = length < room ? length : room;
  std::memcpy(path + used, text, count);
  path[used + count] = '\0';
}

// Reads "$NAME$" (the second "$" may be missing) and appends the variable's value.
const char* append_variable(const char* entry, char* path) {
  const std::size_t length = std::strcspn(entry, "$;");
  char name[kPathBytes];
  std::snprintf(name, sizeof(name), "%.*s", static_cast<int>(length), entry);
  char value[kVariableBytes];
  const std::size_t value_length = port::environment_variable(name, value, sizeof(value));
  if (value_length == 0) {
    msgdebug("Environment variable '%s' not found", name);
  } else {
    append(path, value, value_length);
  }
  return entry[length] == '$' ? entry + length + 1 : entry + length;
}

// Reads one entry of the search list into `path`; returns the text behind it.
const char* read_entry(const char* list, char* path) {
  path[0] = '\0';
  while (*list != '\0' && *list != ';') {
    if (*list == '$') {
      list = append_variable(list + 1, path);
    } else {
      const std::size_t length = std::strcspn(list, "$;");
      append(path, list, length);
      list += length;
    }
  }
  return *list == ';' ? list + 1 : list;
}

bool join(char* path, const char* name) {
  const std::size_t length = std::strlen(path);
  const bool has_separator = path[length - 1] == '\\';
  if (length + (has_separator ? 0 : 1) + std::strlen(name) >= kPathBytes) {
    return false;
  }
  if (!has_separator) {
    std::strcat(path, "\\");
  }
  std::strcat(path, name);
  return true;
}

void copy_path(const char* path, char* out) {
  if (out != nullptr && out != path) {
    std::snprintf(out, kPathBytes, "%s", path);
  }
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int file_find(const char* name, char* out) {
  if (name == nullptr || *name == '\0') {
    msgerror("Can't search for NULL file...");
    return 0;
  }
  if (file_exists(name) != 0) {
    copy_path(name, out);
    return 1;
  }
  for (const char* list = search_list(); *list != '\0';) {
    char path[kPathBytes];
    list = read_entry(list, path);
    if (path[0] != '\0' && join(path, name) && file_exists(path) != 0) {
      copy_path(path, out);
      return 1;
    }
  }
  return 0;
}

int file_search(const char* dir, const char* name, char* out, std::size_t size) {
  const char* separator = std::strrchr(name, '\\');
  const char* component = separator != nullptr ? separator + 1 : name;
  std::snprintf(out, size, "%s\\%s", dir, component);
  if (file_exists(out) != 0) {
    return 1;
  }
  dir_list* list = file_is_directory(dir) != 0 ? flist_new(dir, 1) : nullptr;
  if (list == nullptr) {
    return 0;
  }
  int found = 0;
  for (int i = 0; found == 0 && i < list->dir_count; ++i) {
    char path[kPathBytes];
    const int length = std::snprintf(path, sizeof(path), "%s\\%s", dir, list->dirs[i]);
    if (length < static_cast<int>(sizeof(path))) {
      found = file_search(path, component, out, size);
    }
  }
  flist_delete(list);
  return found;
}

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
  if (!overwrite && file_exists(dst) != 0) {
    return -7;
  }
  char directory[kPathBytes];
  if (!directory_part(dst, directory)) {
    return -4;
  }
  if (!ensure_directory_exists(directory)) {
    return -5;
  }
  // Kept on purpose: renaming never replaces a file, so `overwrite` with an existing destination
  // fails here and nothing is lost.
  return port::rename_file(src, dst) ? 0 : -11;
}
