// The HTTP client's port, answered by WinINet.
#include "net/internet_port.h"

#include "base/win/windows.h"

#include <wininet.h>

namespace orsin::port {
namespace {

static_assert(kConnectTimeOut == INTERNET_OPTION_CONNECT_TIMEOUT);
static_assert(kSendTimeOut == INTERNET_OPTION_SEND_TIMEOUT);
static_assert(kReceiveTimeOut == INTERNET_OPTION_RECEIVE_TIMEOUT);
static_assert(kPragmaNoCache == INTERNET_FLAG_PRAGMA_NOCACHE);
static_assert(kHyperlink == INTERNET_FLAG_HYPERLINK);
static_assert(kIgnoreCertificateName == INTERNET_FLAG_IGNORE_CERT_CN_INVALID);
static_assert(kIgnoreCertificateDate == INTERNET_FLAG_IGNORE_CERT_DATE_INVALID);
static_assert(kSecure == INTERNET_FLAG_SECURE);
static_assert(kNoCacheWrite == INTERNET_FLAG_NO_CACHE_WRITE);

std::string_view view(const char* text, DWORD length) {
  return text != nullptr ? std::string_view(text, length) : std::string_view();
}

}  // namespace

void* internet_open(const char* agent) noexcept {
  return ::InternetOpenA(agent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
}

bool internet_set_option(void* handle, std::uint32_t option, std::uint32_t value) noexcept {
  return ::InternetSetOptionA(handle, option, &value, sizeof value) != FALSE;
}

void* internet_open_url(void* session, const char* url, std::uint32_t flags) noexcept {
  return ::InternetOpenUrlA(session, url, nullptr, 0, flags, 0);
}

bool internet_split_url(const char* url, UrlParts& parts) noexcept {
  URL_COMPONENTSA components = {};
  components.dwStructSize = sizeof components;
  // A length without a buffer asks for a pointer into the URL.
  components.dwHostNameLength = 1;
  components.dwUrlPathLength = 1;
  if (::InternetCrackUrlA(url, 0, 0, &components) == FALSE) {
    return false;
  }
  parts.host = view(components.lpszHostName, components.dwHostNameLength);
  parts.path = view(components.lpszUrlPath, components.dwUrlPathLength);
  parts.port = components.nPort;
  return true;
}

void* internet_connect(void* session, const char* host, std::uint16_t port,
                       std::uint32_t flags) noexcept {
  return ::InternetConnectA(session, host, port, "", "", INTERNET_SERVICE_HTTP, flags, 0);
}

void* internet_open_request(void* connection, const char* method, const char* path,
                            std::uint32_t flags) noexcept {
  const char* accepted[] = {"*/*", nullptr};
  return ::HttpOpenRequestA(connection, method, path, nullptr, nullptr, accepted, flags, 0);
}

bool internet_send_request(void* request, std::string_view headers, const void* body,
                           std::uint32_t body_bytes) noexcept {
  // The library only reads the body.
  return ::HttpSendRequestA(request, headers.data(), static_cast<DWORD>(headers.size()),
                            const_cast<void*>(body), body_bytes) != FALSE;
}

bool internet_query_status(void* request, char* text, std::uint32_t size) noexcept {
  DWORD bytes = size;
  return ::HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE, text, &bytes, nullptr) != FALSE;
}

bool internet_read(void* request, void* buffer, std::uint32_t size, std::uint32_t& bytes) noexcept {
  DWORD got = 0;
  const BOOL done = ::InternetReadFile(request, buffer, size, &got);
  bytes = got;
  return done != FALSE;
}

bool internet_write(void* request, const void* data, std::uint32_t size,
                    std::uint32_t& bytes) noexcept {
  DWORD written = 0;
  const BOOL done = ::InternetWriteFile(request, data, size, &written);
  bytes = written;
  return done != FALSE;
}

void internet_close(void* handle) noexcept {
  const DWORD error = ::GetLastError();
  ::InternetCloseHandle(handle);
  ::SetLastError(error);
}

}  // namespace orsin::port
