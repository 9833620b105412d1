// Sets the paths that start-up would have set.
#include "tests/files/program_paths_standin.h"

#include <cstdio>

#include "base/program_paths.h"

namespace orsin::test {

ProgramPaths::~ProgramPaths() {
  program_paths().code[0] = '\0';
  program_paths().data[0] = '\0';
  program_paths().search_list[0] = '\0';
}

void ProgramPaths::set_code(const std::string& path) {
  std::snprintf(program_paths().code, sizeof(program_paths().code), "%s", path.c_str());
}

void ProgramPaths::set_data(const std::string& path) {
  std::snprintf(program_paths().data, sizeof(program_paths().data), "%s", path.c_str());
}

void ProgramPaths::set_search_list(const std::string& list) {
  std::snprintf(program_paths().search_list, sizeof(program_paths().search_list), "%s",
                list.c_str());
}

}  // namespace orsin::test
