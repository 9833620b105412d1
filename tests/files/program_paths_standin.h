// Sets the code path, the data path and the search list for one test.
#pragma once

#include <string>

namespace orsin::test {

class ProgramPaths {
 public:
  ProgramPaths() = default;
  ~ProgramPaths();
  ProgramPaths(const ProgramPaths&) = delete;
  ProgramPaths& operator=(const ProgramPaths&) = delete;

  static void set_code(const std::string& path);
  static void set_data(const std::string& path);
  static void set_search_list(const std::string& list);
};

}  // namespace orsin::test
