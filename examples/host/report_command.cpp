// "report": starts the library, shows the log that it wrote, closes it.
#include <cstdio>
#include <string>

#include "examples/host/command.h"
#include "orsincore/files.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"

namespace host {
namespace {

bool print_file(const char* path) {
  std::FILE* file = ov_utf8_fopen(path, "r");  // Line ends are made anew by standard output.
  if (file == nullptr) {
    return false;
  }
  char buffer[4096];
  std::size_t count = 0;
  while ((count = std::fread(buffer, 1, sizeof(buffer), file)) > 0) {
    std::fwrite(buffer, 1, count, stdout);
  }
  const bool complete = std::ferror(file) == 0;
  std::fclose(file);
  return complete;
}

int report(const Arguments& arguments) {
  if (!arguments.empty()) {
    return bad_usage(kReportCommand, "takes no arguments");
  }
  std::string log;
  {
    const FullLibrary library;
    if (!library.started()) {
      return busy();
    }
    log = file_get_logfile();
  }
  // After closedown, so that the closing line is there as well.
  std::printf("Log: %s\n\n", log.c_str());
  return print_file(log.c_str()) ? kDone : fail("cannot read the log file " + log);
}

}  // namespace

const Command kReportCommand = {
    "report", "start, show the log with the system report, close",
    "Usage: host report\n"
    "\n"
    "Starts the library, closes it again and prints where the log is and what it says.\n",
    report};

}  // namespace host
