// What the HTTP client asks of the platform's internet library. internet_win.cpp answers.
//
// One system call a function: no logging, no retry, no policy. A call that fails leaves the
// thread's last error. Strings are in the narrow form that the library takes. A handle is null or
// open; calls on a null handle fail, but for internet_set_option(), where the library's answer is
// not to be trusted. Handles may be used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orsin::port {

// Options of a session, as the system numbers them; the values are milliseconds.
constexpr std::uint32_t kConnectTimeOut = 2;
constexpr std::uint32_t kSendTimeOut = 5;
constexpr std::uint32_t kReceiveTimeOut = 6;

// Flags of requests, as the system numbers them.
constexpr std::uint32_t kPragmaNoCache = 0x00000100;
constexpr std::uint32_t kHyperlink = 0x00000400;
constexpr std::uint32_t kIgnoreCertificateName = 0x00001000;
constexpr std::uint32_t kIgnoreCertificateDate = 0x00002000;
constexpr std::uint32_t kSecure = 0x00800000;
constexpr std::uint32_t kNoCacheWrite = 0x04000000;

/// Views into the URL that was split; empty where it has none.
struct UrlParts {
  std::string_view host;
  std::string_view path;
  std::uint16_t port = 0;
};

/// A session with the system's proxy settings. InternetOpenA.
[[nodiscard]] void* internet_open(const char* agent) noexcept;

/// Sets a 32-bit option. InternetSetOptionA.
[[nodiscard]] bool internet_set_option(void* handle, std::uint32_t option,
                                       std::uint32_t value) noexcept;

/// Sends a GET without extra headers; the handle of the request. InternetOpenUrlA.
[[nodiscard]] void* internet_open_url(void* session, const char* url, std::uint32_t flags) noexcept;

/// Splits a URL into host, path with what follows it, and port. InternetCrackUrlA.
[[nodiscard]] bool internet_split_url(const char* url, UrlParts& parts) noexcept;

/// A connection for HTTP without user name and password. InternetConnectA.
[[nodiscard]] void* internet_connect(void* session, const char* host, std::uint16_t port,
                                     std::uint32_t flags) noexcept;

/// A request for any type of answer, not sent yet. HttpOpenRequestA.
[[nodiscard]] void* internet_open_request(void* connection, const char* method, const char* path,
                                          std::uint32_t flags) noexcept;

/// Sends a request with its body, and receives the head of the answer. HttpSendRequestA.
[[nodiscard]] bool internet_send_request(void* request, std::string_view headers, const void* body,
                                         std::uint32_t body_bytes) noexcept;

/// The answer's status code as text, terminated. HttpQueryInfoA with HTTP_QUERY_STATUS_CODE.
[[nodiscard]] bool internet_query_status(void* request, char* text, std::uint32_t size) noexcept;

/// Waits for at least one byte of the answer; 0 bytes at its end. `bytes` is what the library
/// reported, on failure too. InternetReadFile.
[[nodiscard]] bool internet_read(void* request, void* buffer, std::uint32_t size,
                                 std::uint32_t& bytes) noexcept;

/// Writes on an open request. `bytes` is what the library reported, on failure too.
/// InternetWriteFile.
[[nodiscard]] bool internet_write(void* request, const void* data, std::uint32_t size,
                                  std::uint32_t& bytes) noexcept;

/// Also closes what was opened on the handle. Keeps the last error. InternetCloseHandle.
void internet_close(void* handle) noexcept;

}  // namespace orsin::port
