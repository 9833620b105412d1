// The paths that start-up sets, as the tests of this folder set them.
#include "tests/files/program_paths_standin.h"

#include "files/search_list.h"
#include "orsincore/startup.h"

namespace orsin::test {
namespace {

std::string data_path;
std::string settings_list;

}  // namespace

ProgramPaths::~ProgramPaths() {
  data_path.clear();
  settings_list.clear();
}

void ProgramPaths::set_data(const std::string& path) {
  data_path = path;
}

void ProgramPaths::set_search_list(const std::string& list) {
  settings_list = list;
}

}  // namespace orsin::test

const char* file_get_data() {
  return orsin::test::data_path.c_str();
}

const char* orsin::search_list() {
  return orsin::test::settings_list.c_str();
}

int orsinExceptionFilter(int /*code*/, void* /*information*/) {
  return 1;
}
