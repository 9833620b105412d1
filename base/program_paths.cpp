// The one set of paths of the process, and how each follows from the program's own path.
#include "base/program_paths.h"

#include <cstdio>
#include <cstring>

#include "orsincore/paths.h"

namespace orsin {
namespace {

constexpr char kLogDirectory[] = "Settings\\logs";

bool ends_with_backslash(const char* path) {
  const std::size_t length = std::strlen(path);
  return length > 0 && path[length - 1] == '\\';
}

void append(char* list, std::size_t size, const char* entry) {
  const std::size_t used = std::strlen(list);
  std::snprintf(list + used, size - used, "%s;", entry);
}

}  // namespace

ProgramPaths& program_paths() {
  static constinit ProgramPaths paths;
  return paths;
}

const char* search_list() {
  return program_paths().search_list;
}

// Kept on purpose: without "bin64" the file's name stays part of the code path. Required.
void write_code_path(const char* module, char* code) {
  const char* folder = std::strstr(module, "bin64");
  const std::size_t length =
      folder != nullptr ? static_cast<std::size_t>(folder - module) : std::strlen(module);
  std::snprintf(code, kPathBytes, "%.*s", static_cast<int>(length), module);
}

bool write_joined(const char* path, const char* name, char* out) {
  const int length =
      std::snprintf(out, kPathBytes, "%s%s%s", path, ends_with_backslash(path) ? "" : "\\", name);
  return length >= 0 && length < static_cast<int>(kPathBytes);
}

void write_search_list(const ProgramPaths& paths, char* list, std::size_t size) {
  list[0] = '\0';
  char entry[kPathBytes];
  write_joined(paths.data, "Settings", entry);
  append(list, size, entry);
  append(list, size, paths.default_settings);
  const char* separator = std::strrchr(paths.module, '\\');
  if (separator != nullptr) {
    std::snprintf(entry, sizeof(entry), "%.*s", static_cast<int>(separator - paths.module),
                  paths.module);
    append(list, size, entry);
  }
}

void write_log_path(const char* data, const char* application_name, char* directory,
                    char* file_name) {
  if (!write_joined(data, kLogDirectory, directory)) {
    directory[0] = '\0';
  }
  char name[kPathBytes];
  std::snprintf(name, sizeof(name), "%s.log", application_name);
  if (directory[0] == '\0' || !write_joined(directory, name, file_name)) {
    std::snprintf(file_name, kPathBytes, "%s", name);
  }
}

}  // namespace orsin

using namespace orsin;

const char* file_get_code() {
  return program_paths().code;
}

const char* file_get_data() {
  return program_paths().data;
}

const char* file_get_default_settings() {
  return program_paths().default_settings;
}

const char* file_get_logfile() {
  return program_paths().log_file;
}

bool ov_modulename(char* destination, int size) {
  const char* module = program_paths().module;
  if (destination != nullptr && size > 0) {
    std::snprintf(destination, static_cast<std::size_t>(size), "%s", module);
  }
  return module[0] != '\0';
}
