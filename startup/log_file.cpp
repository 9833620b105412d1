// Finds the process's paths, rotates the old logs and makes the new one standard error.
#include "startup/log_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/program_paths.h"
#include "base/unique_file.h"
#include "files/backup_name.h"
#include "files/environment_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/text.h"
#include "orsincore/threads.h"
#include "startup/startup_port.h"

namespace orsin {
namespace {

constexpr int kLogGenerations = 10;

// A file in the program's settings marks an installation that keeps everything in its own folder.
bool is_self_contained(const char* code) {
  char marker[kPathBytes];
  std::snprintf(marker, sizeof(marker), "%s%s\\%s", code, "Settings", "System.reg");
  return file_exists(marker) != 0;
}

void write_data_path(ProgramPaths& paths, const char* application_name, const char* data_variable) {
  if (data_variable != nullptr &&
      port::read_environment(data_variable, paths.data, sizeof(paths.data))) {
    return;
  }
  char folder[kPathBytes];
  if (!is_self_contained(paths.code) && application_name != nullptr &&
      port::common_application_data(folder, sizeof(folder))) {
    std::snprintf(paths.data, sizeof(paths.data), "%s\\%s", folder, application_name);
    return;
  }
  std::snprintf(paths.data, sizeof(paths.data), "%s", paths.code);
}

void find_paths(ProgramPaths& paths, const char* application_name, const char* data_variable) {
  write_code_path(paths.module, paths.code);
  write_data_path(paths, application_name, data_variable);
  write_joined(paths.code, "Settings", paths.default_settings);
  write_search_list(paths, paths.search_list, sizeof(paths.search_list));
}

bool make_log_directory(char* directory) {
  const std::size_t length = std::strlen(directory);
  if (length > 0 && (directory[length - 1] == '\\' || directory[length - 1] == '/')) {
    directory[length - 1] = '\0';
  }
  if (std::strlen(directory) <= 2 || file_is_directory(directory) != 0 ||
      file_create_directory(directory, true) >= 0) {
    return true;
  }
  msgerror("Error creating directory %s : %s\n", directory, std::strerror(errno));
  return false;
}

// A predecessor gives its instance up before its log, and the system may hold an ended process's file
// for a moment longer. Emptying the file now would cut off what that one still writes. There is
// nothing to wait on, so this looks again until a limit. Whoever merely reads is not waited for.
void wait_until_released(const char* path) {
  constexpr long long kPauseNs = 10'000'000;
  constexpr int kLooks = 50;
  for (int look = 0; look < kLooks && port::is_file_written(path); ++look) {
    mp_timedwait(kPauseNs);
  }
}

// Makes the file, where there is none. One that cannot be looked into is not known to be empty.
bool is_empty(const char* path) {
  const UniqueFile file(ov_utf8_fopen(path, "a+N"));
  return file && std::fseek(file.get(), 0, SEEK_END) == 0 && std::ftell(file.get()) == 0;
}

// Makes the latest log number 1. A file that somebody holds cannot be renamed, and is copied. False
// when the lines of the one before are in that file only.
bool rotate_log(const char* path) {
  wait_until_released(path);
  file_backup(path, kLogGenerations);
  return is_empty(path) || port::copy_file(path, backup_name(path, 1).c_str());
}

// Standard error becomes the log file, so that whatever any code writes there lands in the log. Null
// when the file cannot be opened: standard error is then as it was.
std::FILE* reopen_standard_error(const char* path, const char* mode) {
  // A reopening that fails has closed its stream already, so another one goes first.
  if (!UniqueFile(ov_utf8_fopen(path, mode))) {
    return nullptr;
  }
  return ov_utf8_freopen(path, mode, stderr);
}

bool open_log(const char* path, bool continues) {
  // Not inherited: a child that lives longer than this process would hold the file.
  const bool empties = !continues && rotate_log(path);
  std::FILE* stream = reopen_standard_error(path, empties ? "w+N" : "a+N");
  if (stream == nullptr) {
    msg_open(nullptr);
    return false;
  }
  std::setvbuf(stream, nullptr, _IONBF, 0);
  msg_open(stream);
  port::redirect_standard_error(stream);
  return true;
}

}  // namespace

void set_paths_and_open_log(const char* application_name, const char* data_variable,
                            bool continues_log) {
  ProgramPaths& paths = program_paths();
  find_paths(paths, application_name, data_variable);
  if (application_name == nullptr) {
    paths.log_file[0] = '\0';
    msg_open(nullptr);
    return;
  }
  char directory[kPathBytes];
  write_log_path(paths.data, application_name, directory, paths.log_file);
  if (directory[0] != '\0' && !make_log_directory(directory)) {
    std::snprintf(paths.log_file, sizeof(paths.log_file), "%s.log", application_name);
  }
  if (!open_log(paths.log_file, continues_log)) {
    paths.log_file[0] = '\0';
  }
}

}  // namespace orsin
