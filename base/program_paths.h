// Where the program's code, data and settings live; set once by start-up, then constant.
#pragma once

#include <cstddef>

#include "base/path_buffer.h"

namespace orsin {

struct ProgramPaths {
  char module[kPathBytes] = {};
  char code[kPathBytes] = {};
  char data[kPathBytes] = {};
  char default_settings[kPathBytes] = {};
  char log_file[kPathBytes] = {};
  char search_list[3 * kPathBytes] = {};
};

/// The process's one set of paths.
ProgramPaths& program_paths();

/// Directories that file_find() walks, each followed by ";".
const char* search_list();

/// The path up to its first "bin64"; all of it when there is none.
void write_code_path(const char* module, char* code);

/// The path, a backslash if it lacks one, and a name. False, with the text cut, when it does not fit.
bool write_joined(const char* path, const char* name, char* out);

/// The list of the settings below data and code path and of the module's own directory.
void write_search_list(const ProgramPaths& paths, char* list, std::size_t size);

/// The directory of the log and the log's full name. The directory is empty, and the name alone is
/// left (so the file lands in the current directory), when they do not fit.
void write_log_path(const char* data, const char* application_name, char* directory,
                    char* file_name);

}  // namespace orsin
