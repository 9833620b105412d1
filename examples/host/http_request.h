// One request with the library's HTTP client, for the commands that send one.
#pragma once

#include <string>

#include "orsincore/network.h"

namespace host {

struct HttpAnswer {
  bool received = false;
  int status = 0;  // 0 as well when the server did not speak HTTP.
  std::string body;
  std::string problem;  // Why nothing was received; may be empty.

  [[nodiscard]] bool is_success() const { return status >= 200 && status < 300; }
};

/// Sends a body of up to 2 GiB; TLS for https URLs. Empty headers: the library's default.
HttpAnswer send_request(ov_http_request_type type, const std::string& url, const std::string& body,
                        const std::string& headers);

}  // namespace host
