// "http": sends one request and prints the answer.
#include <cstdio>
#include <string>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/http_request.h"

namespace host {
namespace {

struct Request {
  ov_http_request_type type = OV_HTTP_GET;
  std::string url;
  std::string data;
  std::string headers;
};

constexpr struct {
  std::string_view name;
  ov_http_request_type type;
} kMethods[] = {{"GET", OV_HTTP_GET},
                {"POST", OV_HTTP_POST},
                {"PUT", OV_HTTP_PUT},
                {"PATCH", OV_HTTP_PATCH},
                {"DELETE", OV_HTTP_DELETE}};

bool parse_method(const std::string& name, ov_http_request_type& type) {
  for (const auto& method : kMethods) {
    if (method.name == name) {
      type = method.type;
      return true;
    }
  }
  return false;
}

int parse(const Arguments& arguments, Request& request) {
  if (arguments.size() < 2) {
    return bad_usage(kHttpCommand, "needs a method and a URL");
  }
  if (!parse_method(arguments[0], request.type)) {
    return bad_usage(kHttpCommand, "no method " + arguments[0]);
  }
  request.url = arguments[1];
  for (std::size_t i = 2; i < arguments.size(); i += 2) {
    const std::string& option = arguments[i];
    if (option != "--data" && option != "--header") {
      return bad_usage(kHttpCommand, "no option " + option);
    }
    if (i + 1 == arguments.size()) {
      return bad_usage(kHttpCommand, option + " needs a value");
    }
    if (request.type == OV_HTTP_GET) {
      return bad_usage(kHttpCommand, "GET takes no " + option);
    }
    if (option == "--data") {
      request.data = arguments[i + 1];
    } else {
      request.headers += (request.headers.empty() ? "" : "\r\n") + arguments[i + 1];
    }
  }
  return kDone;
}

int http(const Arguments& arguments) {
  Request request;
  if (const int code = parse(arguments, request); code != kDone) {
    return code;
  }
  const FastLibrary library;
  const HttpAnswer answer = send_request(request.type, request.url, request.data, request.headers);
  if (!answer.received) {
    return fail("no answer from " + request.url +
                (answer.problem.empty() ? "" : ": " + answer.problem));
  }
  use_binary_output();
  std::fwrite(answer.body.data(), 1, answer.body.size(), stdout);
  if (!answer.is_success()) {
    return fail("status " + std::to_string(answer.status));
  }
  return kDone;
}

}  // namespace

const Command kHttpCommand = {
    "http", "send a request and print the answer",
    "Usage: host http METHOD URL [--data D] [--header H]...\n"
    "\n"
    "METHOD is GET, POST, PUT, PATCH or DELETE. Prints the answer's body, byte for byte.\n"
    "\n"
    "  --data D    the request's body; not for GET\n"
    "  --header H  a header line instead of the default 'Content-Type:\n"
    "              application/x-www-form-urlencoded'; may be repeated; not for GET\n"
    "\n"
    "The exit code is 0 only if the status was 200 to 299; any other status is on standard\n"
    "error.\n",
    http};

}  // namespace host
