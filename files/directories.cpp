// Making and removing directories.
#include "files/directories.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"

namespace orsin {
namespace {

char shared_result[kPathBytes];  // For callers of file_ensure_directory() without a buffer.

bool is_absolute(const char* path) {
  return path[0] == '\\' || (path[0] != '\0' && path[1] == ':');
}

bool ends_with_separator(const char* path, std::size_t length) {
  return length > 0 && (path[length - 1] == '\\' || path[length - 1] == '/');
}

int make_and_share(const char* path) {
  if (!port::make_directory(path)) {
    return -1;
  }
  file_grant_everyone_access(path);
  return 0;
}

// Removes a file; where that fails, a directory of that name.
bool remove_entry(const char* path) {
  if (port::remove_file(path)) {
    return true;
  }
  return file_is_directory(path) != 0 && port::remove_directory(path);
}

// The directory as given, or below the data path. False when it does not fit.
bool resolve_directory(const char* dir, char* result) {
  if (is_absolute(dir)) {
    std::snprintf(result, kPathBytes, "%s", dir);
    return true;
  }
  const char* data = file_get_data();
  const bool has_separator = ends_with_separator(data, std::strlen(data));
  const int length =
      std::snprintf(result, kPathBytes, "%s%s%s", data, has_separator ? "" : "\\", dir);
  return length >= 0 && length < static_cast<int>(kPathBytes);
}

}  // namespace

bool directory_part(const char* path, char* directory) {
  const char* separator = std::strrchr(path, '\\');
  if (separator == nullptr || separator - path >= static_cast<std::ptrdiff_t>(kPathBytes)) {
    return false;
  }
  const auto length = static_cast<std::size_t>(separator - path);
  std::memcpy(directory, path, length);
  directory[length] = '\0';
  return true;
}

bool ensure_directory_exists(const char* directory) {
  return file_is_directory(directory) != 0 || file_create_directory(directory, true) >= 0;
}

}  // namespace orsin

using namespace orsin;

int file_create_directory(const char* path, bool parents) {
  if (make_and_share(path) == 0) {
    return 0;
  }
  char parent[kPathBytes];
  if (!parents || !directory_part(path, parent) || parent[0] == '\0') {
    return -1;
  }
  if (file_create_directory(parent, true) < 0) {
    return -1;
  }
  return make_and_share(path) == 0 ? 1 : -1;
}

int file_delete(const char* path) {
  return remove_entry(path) ? 0 : -1;
}

int file_delete_directory(const char* path, bool recursive) {
  dir_list* list = file_is_directory(path) != 0 ? flist_new(path, 1) : nullptr;
  if (list == nullptr) {
    return file_delete(path) == 0 ? 1 : -1;
  }
  char entry[kPathBytes];
  // Kept on purpose: a failure below does not stop the walk; what is left then stops the removal of
  // this directory.
  for (int i = 0; recursive && i < list->dir_count; ++i) {
    std::snprintf(entry, sizeof(entry), "%s\\%s", path, list->dirs[i]);
    file_delete_directory(entry, true);
  }
  bool removed = true;
  for (int i = 0; removed && i < list->file_count; ++i) {
    std::snprintf(entry, sizeof(entry), "%s\\%s", path, list->files[i]);
    removed = remove_entry(entry);
  }
  flist_delete(list);
  return removed && file_delete(path) == 0 ? 1 : -1;
}

char* file_ensure_directory(const char* dir, const char* name, char* out) {
  char* result = out != nullptr ? out : shared_result;
  if (!resolve_directory(dir, result)) {
    return nullptr;
  }
  std::size_t length = std::strlen(result);
  if (ends_with_separator(result, length)) {
    result[--length] = '\0';
  }
  if (file_is_directory(result) == 0 && length > 2 && file_create_directory(result, true) < 0) {
    msgerror("Error creating directory %s : %s\n", result, std::strerror(errno));
    return nullptr;
  }
  if (length < kPathBytes - 1 && !ends_with_separator(result, length)) {
    result[length++] = '\\';
    result[length] = '\0';
  }
  if (name != nullptr && *name != '\0') {
    if (length + std::strlen(name) >= kPathBytes) {
      return nullptr;
    }
    std::strcat(result, name);
  }
  return result;
}
