// The HTTP client's port over the recording library: native builds have no network.
#include "net/internet_port.h"
#include "tests/platform/native/fake_internet.h"

namespace orsin::port {

using test::fake_internet;

void* internet_open(const char* agent) noexcept {
  return fake_internet().open(agent);
}

bool internet_set_option(void* handle, std::uint32_t option, std::uint32_t value) noexcept {
  return fake_internet().set_option(handle, option, value);
}

void* internet_open_url(void* session, const char* url, std::uint32_t flags) noexcept {
  return fake_internet().open_url(session, url, flags);
}

bool internet_split_url(const char* url, UrlParts& parts) noexcept {
  return fake_internet().split_url(url, parts);
}

void* internet_connect(void* session, const char* host, std::uint16_t port,
                       std::uint32_t flags) noexcept {
  return fake_internet().connect(session, host, port, flags);
}

void* internet_open_request(void* connection, const char* method, const char* path,
                            std::uint32_t flags) noexcept {
  return fake_internet().open_request(connection, method, path, flags);
}

bool internet_send_request(void* request, std::string_view headers, const void* body,
                           std::uint32_t body_bytes) noexcept {
  return fake_internet().send_request(
      request, headers,
      body_bytes > 0 ? std::string_view(static_cast<const char*>(body), body_bytes)
                     : std::string_view());
}

bool internet_query_status(void* request, char* text, std::uint32_t size) noexcept {
  return fake_internet().query_status(request, text, size);
}

bool internet_read(void* request, void* buffer, std::uint32_t size, std::uint32_t& bytes) noexcept {
  return fake_internet().read(request, buffer, size, bytes);
}

bool internet_write(void* request, const void* data, std::uint32_t size,
                    std::uint32_t& bytes) noexcept {
  return fake_internet().write(request, data, size, bytes);
}

void internet_close(void* handle) noexcept {
  fake_internet().close(handle);
}

}  // namespace orsin::port
