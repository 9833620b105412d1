// "put": sends a file as the body of a PUT request.
#include <cstdio>
#include <limits>
#include <string>

#include "examples/host/command.h"
#include "examples/host/http_request.h"
#include "examples/host/paths.h"
#include "orsincore/files.h"

namespace host {
namespace {

void append_block(void* content, unsigned char* data, unsigned long long length) {
  if (data != nullptr) {  // Else it is the end of the data.
    static_cast<std::string*>(content)->append(reinterpret_cast<const char*>(data), length);
  }
}

// Without destinations a copy only reads.
bool read_whole_file(const std::string& path, std::string& content) {
  const auto size = static_cast<unsigned long long>(file_size(path.c_str()));
  content.reserve(size);
  unsigned long long bytes = 0;
  return file_copy(path.c_str(), static_cast<const char**>(nullptr), false, bytes, nullptr, nullptr,
                   append_block, &content, true) == 0 &&
         bytes == size;
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
