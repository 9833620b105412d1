// One program of the kit, run to its end.
#pragma once

#include <filesystem>
#include <string>

namespace orsin::acceptance {

struct Ended {
  int exit_code = -1;
  std::string output;  ///< Both of its outputs, and why there is no exit code.
  unsigned long long milliseconds = 0;
};

/// Runs a command line with `folder` as its current and its temporary folder. What it started ends with it,
/// and it ends after so many seconds. Any thread may ask.
Ended run_in_job(const std::wstring& command_line, const std::filesystem::path& folder,
                 int seconds_max);

/// All bytes of a file; nothing where there is none.
std::string read_file(const std::filesystem::path& path);

}  // namespace orsin::acceptance
