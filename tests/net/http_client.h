// The HTTP client as tests want it: protected members open, answers as strings.
#pragma once

#include <string>

#include "base/log_port.h"
#include "orsincore/network.h"
#include "tests/platform/native/fake_internet.h"

namespace orsin::test {

/// The system's text for an error code, as the client shows it.
inline std::string system_text(unsigned code) {
  char text[256];
  port::system_error_text(code, text, sizeof(text));
  return text;
}

// The constructor's calls are taken off the recording library's record.
class HttpClient : public ov_http_socket {
 public:
  HttpClient() { fake_internet().calls.clear(); }
  using ov_http_socket::OpenUrl;
  using ov_http_socket::PostUrl;
  using ov_http_socket::SetStatusCode;

  std::string get(const char* url) {
    unsigned long long bytes = 0;
    const char* data = GetHttpData(url, OV_HTTP_GET, nullptr, -1, nullptr, &bytes);
    return data != nullptr ? std::string(data, bytes) : "(none)";
  }
};

}  // namespace orsin::test
