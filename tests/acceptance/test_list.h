// The list of tests in an acceptance kit, and what a test's output says about how it ended.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orsin::acceptance {

/// One test of the list: a line "NAME<tab>PROGRAM<tab>FILTER<tab>SECONDS<tab>NEEDS".
struct ListedTest {
  std::string name;
  std::string program;  ///< Its file name in the folder tests/.
  std::string filter;   ///< Selects it in the program.
  int seconds_max = 0;  ///< It is ended then, and has failed.
  std::string needs;    ///< Empty, or an environment variable without which it cannot run.
};

/// The lines of a list; `bad` gets the first that is none.
std::vector<ListedTest> parse_list(std::string_view text, std::string& bad);

enum class Ending { kPassed, kSkipped, kFailed };

/// How a test ended, from its exit code and its whole output: passed only when it says so itself.
Ending ending(int exit_code, std::string_view output);

/// The reason that a skipped test gave, in one line.
std::string reason(std::string_view output);

/// What a report keeps of a benchmark program's output: the heads of the columns, the median of each
/// job, and whatever a job said of why it could not run.
std::string medians(std::string_view output);

}  // namespace orsin::acceptance
