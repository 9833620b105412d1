// "get": downloads a URL into a file.
#include <cstdio>
#include <string>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/elapsed_line.h"
#include "examples/host/guarded_file.h"
#include "examples/host/internet_problem.h"
#include "examples/host/paths.h"
#include "orsincore/files.h"
#include "orsincore/network.h"

namespace host {
namespace {

int get(const Arguments& arguments) {
  const bool overwrite = !arguments.empty() && arguments[0] == "--overwrite";
  if (arguments.size() != (overwrite ? 3U : 2U)) {
    return bad_usage(kGetCommand, "needs a URL and a file");
  }
  const std::string& url = arguments[overwrite ? 1 : 0];
  const std::string path = full_path(arguments.back());
  const FastLibrary library;
  if (path.empty()) {
    return fail("not a usable path: " + arguments.back());
  }
  if (!overwrite && file_exists(path.c_str()) != 0) {
    return fail("already exists (--overwrite replaces it): " + path);
  }

  GuardedFile file(path);
  double seconds = 0.0;
  {
    const ElapsedLine line;
    if (!ov_http_socket::ReadFile(url.c_str(), file.partial().c_str())) {
      const std::string problem = internet_problem(last_error_code(), "");
      return fail("cannot download " + url + (problem.empty() ? "" : ": " + problem));
    }
    seconds = line.seconds();
  }
  const long long bytes = file_size(file.partial().c_str());
  if (!file.commit()) {
    return fail("cannot put the file in place: " + path);
  }
  std::printf("bytes %lld  seconds %.2f  %s\n", bytes, seconds, path.c_str());
  return kDone;
}

}  // namespace

const Command kGetCommand = {
    "get", "download a URL into a file",
    "Usage: host get [--overwrite] URL FILE\n"
    "\n"
    "Downloads an http or https URL. Shows the time passed on a console, and at the end the bytes\n"
    "received.\n"
    "\n"
    "  --overwrite  replace FILE if it exists\n"
    "\n"
    "The file takes its name only when it is complete. The exit code is 0 only if the server\n"
    "answered with status 200; otherwise nothing is changed, and the reason is on standard\n"
    "error.\n",
    get};

}  // namespace host
