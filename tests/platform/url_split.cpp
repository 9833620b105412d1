#include "tests/platform/url_split.h"

#include <algorithm>
#include <string>

#include "base/log_port.h"

namespace orsin::test {
namespace {

constexpr unsigned kUnknownScheme = 12006;
constexpr std::uint16_t kHttpPort = 80;
constexpr std::uint16_t kHttpsPort = 443;

}  // namespace

bool split_url(std::string_view url, port::UrlParts& parts) {
  const std::size_t scheme_end = url.find("://");
  if (scheme_end == std::string_view::npos) {
    port::set_last_system_error(kUnknownScheme);
    return false;
  }
  const std::string_view rest = url.substr(scheme_end + 3);
  const std::size_t path_start = std::min(rest.find('/'), rest.size());
  const std::string_view server = rest.substr(0, path_start);
  const std::size_t colon = server.find(':');
  parts.host = server.substr(0, colon);
  parts.path = rest.substr(path_start);
  parts.port = url.substr(0, scheme_end) == "https" ? kHttpsPort : kHttpPort;
  if (colon != std::string_view::npos) {
    parts.port = static_cast<std::uint16_t>(std::stoi(std::string(server.substr(colon + 1))));
  }
  return true;
}

}  // namespace orsin::test
