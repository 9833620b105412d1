// The functions of WinINet, answered by the recording library.
//
// A call through an import goes through a pointer with the prefix "__imp_"; defining the pointers here
// keeps the linker from taking them from the import library. So these tests run the real port, down to
// the arguments that it gives to the system; what is the same in every call is checked on the spot.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/win/windows.h"
#include "tests/platform/native/fake_internet.h"

#include <wininet.h>

namespace orsin::test {
namespace {

HINTERNET WINAPI open(LPCSTR agent, DWORD access, LPCSTR proxy, LPCSTR bypass, DWORD flags) {
  EXPECT_EQ(access, DWORD{INTERNET_OPEN_TYPE_PRECONFIG});
  EXPECT_EQ(proxy, nullptr);
  EXPECT_EQ(bypass, nullptr);
  EXPECT_EQ(flags, 0u);
  return fake_internet().open(agent);
}

BOOL WINAPI set_option(HINTERNET handle, DWORD option, LPVOID value, DWORD size) {
  EXPECT_EQ(size, sizeof(DWORD));
  DWORD number = 0;
  std::memcpy(&number, value, sizeof(number));
  return fake_internet().set_option(handle, option, number) ? TRUE : FALSE;
}

HINTERNET WINAPI open_url(HINTERNET session, LPCSTR url, LPCSTR headers, DWORD headers_length,
                          DWORD flags, DWORD_PTR context) {
  EXPECT_EQ(headers, nullptr);
  EXPECT_EQ(headers_length, 0u);
  EXPECT_EQ(context, 0u);
  return fake_internet().open_url(session, url, flags);
}

BOOL WINAPI crack_url(LPCSTR url, DWORD url_length, DWORD flags, LPURL_COMPONENTSA components) {
  EXPECT_EQ(url_length, 0u);
  EXPECT_EQ(flags, 0u);
  EXPECT_EQ(components->dwStructSize, sizeof(*components));
  EXPECT_NE(components->dwHostNameLength, 0u);
  EXPECT_NE(components->dwUrlPathLength, 0u);
  EXPECT_EQ(components->dwSchemeLength + components->dwUserNameLength +
                components->dwPasswordLength + components->dwExtraInfoLength,
            0u);
  port::UrlParts parts;
  if (!fake_internet().split_url(url, parts)) {
    return FALSE;
  }
  components->lpszHostName = const_cast<char*>(parts.host.data());
  components->dwHostNameLength = static_cast<DWORD>(parts.host.size());
  components->lpszUrlPath = const_cast<char*>(parts.path.data());
  components->dwUrlPathLength = static_cast<DWORD>(parts.path.size());
  components->nPort = parts.port;
  return TRUE;
}

HINTERNET WINAPI connect(HINTERNET session, LPCSTR host, INTERNET_PORT port, LPCSTR user,
                         LPCSTR password, DWORD service, DWORD flags, DWORD_PTR context) {
  EXPECT_STREQ(user, "");
  EXPECT_STREQ(password, "");
  EXPECT_EQ(service, DWORD{INTERNET_SERVICE_HTTP});
  EXPECT_EQ(context, 0u);
  return fake_internet().connect(session, host, port, flags);
}

HINTERNET WINAPI open_request(HINTERNET connection, LPCSTR method, LPCSTR path, LPCSTR version,
                              LPCSTR referrer, LPCSTR* accepted, DWORD flags, DWORD_PTR context) {
  EXPECT_EQ(version, nullptr);
  EXPECT_EQ(referrer, nullptr);
  EXPECT_STREQ(accepted[0], "*/*");
  EXPECT_EQ(accepted[1], nullptr);
  EXPECT_EQ(context, 0u);
  return fake_internet().open_request(connection, method, path, flags);
}

BOOL WINAPI send_request(HINTERNET request, LPCSTR headers, DWORD headers_length, LPVOID body,
                         DWORD body_length) {
  const std::string_view body_view =
      body_length > 0 ? std::string_view(static_cast<const char*>(body), body_length)
                      : std::string_view();
  return fake_internet().send_request(request, std::string_view(headers, headers_length), body_view)
             ? TRUE
             : FALSE;
}

BOOL WINAPI query_info(HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size, LPDWORD index) {
  EXPECT_EQ(level, DWORD{HTTP_QUERY_STATUS_CODE});
  EXPECT_EQ(index, nullptr);
  return fake_internet().query_status(request, static_cast<char*>(buffer), *size) ? TRUE : FALSE;
}

BOOL WINAPI read_file(HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytes) {
  std::uint32_t got = 0;
  const bool done = fake_internet().read(request, buffer, size, got);
  *bytes = got;
  return done ? TRUE : FALSE;
}

BOOL WINAPI write_file(HINTERNET request, LPCVOID data, DWORD size, LPDWORD bytes) {
  std::uint32_t written = 0;
  const bool done = fake_internet().write(request, data, size, written);
  *bytes = written;
  return done ? TRUE : FALSE;
}

BOOL WINAPI close_handle(HINTERNET handle) {
  fake_internet().close(handle);
  return TRUE;
}

}  // namespace
}  // namespace orsin::test

extern "C" {
using namespace orsin::test;

decltype(&InternetOpenA) __imp_InternetOpenA = open;
decltype(&InternetSetOptionA) __imp_InternetSetOptionA = set_option;
decltype(&InternetOpenUrlA) __imp_InternetOpenUrlA = open_url;
decltype(&InternetCrackUrlA) __imp_InternetCrackUrlA = crack_url;
decltype(&InternetConnectA) __imp_InternetConnectA = orsin::test::connect;
decltype(&HttpOpenRequestA) __imp_HttpOpenRequestA = open_request;
decltype(&HttpSendRequestA) __imp_HttpSendRequestA = send_request;
decltype(&HttpQueryInfoA) __imp_HttpQueryInfoA = query_info;
decltype(&InternetReadFile) __imp_InternetReadFile = read_file;
decltype(&InternetWriteFile) __imp_InternetWriteFile = write_file;
decltype(&InternetCloseHandle) __imp_InternetCloseHandle = close_handle;
}
