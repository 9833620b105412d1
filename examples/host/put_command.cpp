// "put": sends a file as the body of a PUT request.
#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "examples/host/command.h"
#include "examples/host/http_request.h"
#include "examples/host/paths.h"
#include "orsincore/files.h"
#include "orsincore/text.h"

namespace host {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

bool read_whole_file(const std::string& path, std::string& content) {
  content.resize(static_cast<std::size_t>(file_size(path.c_str())));
  const std::unique_ptr<std::FILE, FileCloser> file(ov_utf8_fopen(path.c_str(), "rb"));
  return file != nullptr &&
         std::fread(content.data(), 1, content.size(), file.get()) == content.size();
}

int put(const Arguments& arguments) {
  if (arguments.size() != 2) {
    return bad_usage(kPutCommand, "needs a URL and a file");
  }
  const std::string& url = arguments[0];
  const std::string path = full_path(arguments[1]);
  const FastLibrary library;
  if (path.empty() || file_exists(path.c_str()) == 0) {
    return fail("no such file: " + arguments[1]);
  }
  if (file_size(path.c_str()) > std::numeric_limits<int>::max()) {
    return fail("larger than a request's body can be (2 GiB): " + path);
  }
  std::string content;
  if (!read_whole_file(path, content)) {
    return fail("cannot read " + path);
  }

  const HttpAnswer answer =
      send_request(OV_HTTP_PUT, url, content, "Content-Type: application/octet-stream");
  if (!answer.received) {
    return fail("no answer from " + url + (answer.problem.empty() ? "" : ": " + answer.problem));
  }
  if (!answer.is_success()) {
    return fail("status " + std::to_string(answer.status));
  }
  std::printf("bytes %zu  status %d  %s\n", content.size(), answer.status, url.c_str());
  return kDone;
}

}  // namespace

const Command kPutCommand = {
    "put", "upload a file to a URL",
    "Usage: host put URL FILE\n"
    "\n"
    "Sends FILE, of up to 2 GiB, as the body of a PUT request. The exit code is 0 only if the\n"
    "server answered with a status of 200 to 299.\n",
    put};

}  // namespace host
