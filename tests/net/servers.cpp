#include "tests/net/servers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/win/windows.h"

namespace orsin::test {
namespace {

std::string environment(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) {
    ADD_FAILURE() << name << " is not set: run through tests/net/with-servers";
    return "1";  // Nobody listens on port 1.
  }
  return value;
}

std::string loopback_url(const std::string& server, const std::string& path) {
  return "http://127.0.0.1:" + environment("ORSIN_" + server + "_PORT") + path;
}

std::string windows_path(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return "Z:" + path;
}

}  // namespace

std::string nginx_url(const std::string& path) {
  return loopback_url("HTTP", path);
}

std::string echo_url(const std::string& path) {
  return loopback_url("ECHO", path);
}

std::string broken_url(const std::string& path) {
  return loopback_url("BROKEN", path);
}

std::string tls_url(const std::string& certificate, const std::string& path) {
  return "https://localhost:" + environment("ORSIN_" + certificate + "_PORT") + path;
}

std::string served_file(const std::string& name) {
  return windows_path(environment("ORSIN_WWW") + '/' + name);
}

std::string authority_file() {
  return windows_path(environment("ORSIN_AUTHORITY"));
}

std::string pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t place = i % 65536;
    bytes[i] = static_cast<char>(place * 31 + place / 251);
  }
  return bytes;
}

std::string get(ov_http_socket& socket, const std::string& url) {
  unsigned long long bytes = 0;
  const char* data = socket.GetHttpData(url.c_str(), OV_HTTP_GET, nullptr, -1, nullptr, &bytes);
  return data != nullptr ? std::string(data, bytes) : "(none)";
}

unsigned last_error_code(const ov_http_socket& socket) {
  constexpr std::size_t kLastErrorOffset = 36;
  unsigned code = 0;
  std::memcpy(&code, reinterpret_cast<const unsigned char*>(&socket) + kLastErrorOffset,
              sizeof(code));
  return code;
}

bool under_wine() {
  return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace orsin::test
