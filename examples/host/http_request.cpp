#include "examples/host/http_request.h"

#include "examples/host/console.h"
#include "examples/host/internet_problem.h"

namespace host {

HttpAnswer send_request(ov_http_request_type type, const std::string& url, const std::string& body,
                        const std::string& headers) {
  ov_http_socket socket;
  socket.SetSecureFlag(url.starts_with("https:"));
  unsigned long long bytes = 0;
  const char* data =
      socket.GetHttpData(url.c_str(), type, body.data(), static_cast<int>(body.size()),
                         headers.empty() ? nullptr : headers.c_str(), &bytes);

  const unsigned long error = last_error_code();  // Of the request, if it failed.

  HttpAnswer answer;
  answer.received = data != nullptr;
  answer.status = socket.GetStatusCode();
  if (answer.received) {
    answer.body.assign(data, bytes);
    return answer;
  }
  answer.problem = internet_problem(error, socket.LastErrorString());
  answer.problem.erase(answer.problem.find_last_not_of("\r\n ") + 1);
  return answer;
}

}  // namespace host
