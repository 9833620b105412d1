#include "core/log_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/program_paths.h"
#include "core/startup_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

constexpr int kLogGenerations = 10;

// A file in the program's settings marks an installation that keeps everything in its own folder.
bool is_self_contained(const char* code) {
  char marker[kProgramPathBytes];
  std::snprintf(marker, sizeof(marker), "%s%s\\%s", code, "Settings", "System.reg");
  return file_exists(marker) != 0;
}

void write_data_path(ProgramPaths& paths, const char* application_name, const char* data_variable) {
  if (data_variable != nullptr &&
      port::environment_path(data_variable, paths.data, sizeof(paths.data))) {
    return;
  }
  char folder[kProgramPathBytes];
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

// Standard error becomes the log file, so that whatever any code writes there lands in the log.
void open_log(const char* path) {
  const bool continues = RA_CheckProcessWasRestarted() != 0;
  if (!continues) {
    file_backup(path, kLogGenerations);
  }
  std::FILE* stream = ov_utf8_freopen(path, continues ? "a+" : "w+", stderr);
  if (stream == nullptr) {
    msg_open(nullptr);
    return;
  }
  std::setvbuf(stream, nullptr, _IONBF, 0);
  msg_open(stream);
  port::redirect_standard_error(stream);
}

}  // namespace

void set_paths_and_open_log(const char* application_name, const char* data_variable) {
  ProgramPaths& paths = program_paths();
  find_paths(paths, application_name, data_variable);
  if (application_name == nullptr) {
    paths.log_file[0] = '\0';
    msg_open(nullptr);
    return;
  }
  char directory[kProgramPathBytes];
  write_log_path(paths.data, application_name, directory, paths.log_file);
  if (directory[0] != '\0' && !make_log_directory(directory)) {
    std::snprintf(paths.log_file, sizeof(paths.log_file), "%s.log", application_name);
  }
  open_log(paths.log_file);
}

}  // namespace orsin
