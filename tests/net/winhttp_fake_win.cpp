// The functions of WinHTTP, answered by the recording library.
//
// A call through an import goes through a pointer with the prefix "__imp_"; defining the pointers
// here keeps the linker from taking them from the import library. So these tests run the real port,
// down to the arguments that it gives to the system; what is the same in every call is checked on
// the spot.
#include <gtest/gtest.h>

#include "core/win/windows.h"
#include "tests/native/fake_websockets.h"

#include <winhttp.h>

namespace orsin::test {
namespace {

std::u16string_view units(LPCWSTR text) {
  return reinterpret_cast<const char16_t*>(text);
}

HINTERNET WINAPI open(LPCWSTR agent, DWORD access, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) {
  EXPECT_STREQ(agent, L"OvWebSocket");
  EXPECT_EQ(access, DWORD{WINHTTP_ACCESS_TYPE_DEFAULT_PROXY});
  EXPECT_EQ(proxy, nullptr);
  EXPECT_EQ(bypass, nullptr);
  EXPECT_EQ(flags, 0u);
  return fake_websockets().open();
}

HINTERNET WINAPI connect(HINTERNET session, LPCWSTR host, INTERNET_PORT port, DWORD reserved) {
  EXPECT_EQ(reserved, 0u);
  return fake_websockets().connect(session, units(host), port);
}

HINTERNET WINAPI open_request(HINTERNET connection, LPCWSTR verb, LPCWSTR path, LPCWSTR version,
                              LPCWSTR referrer, LPCWSTR* accepted, DWORD flags) {
  EXPECT_STREQ(verb, L"GET");
  EXPECT_EQ(version, nullptr);
  EXPECT_EQ(referrer, nullptr);
  EXPECT_EQ(accepted, nullptr);
  EXPECT_EQ(flags, 0u);
  return fake_websockets().open_request(connection, units(path));
}

BOOL WINAPI set_option(HINTERNET request, DWORD option, LPVOID value, DWORD size) {
  EXPECT_EQ(option, DWORD{WINHTTP_OPTION_UPGRADE_TO_WEB_SOCKET});
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(size, 0u);
  return fake_websockets().set_option(request) ? TRUE : FALSE;
}

BOOL WINAPI send_request(HINTERNET request, LPCWSTR headers, DWORD headers_length, LPVOID body,
                         DWORD body_length, DWORD total_length, DWORD_PTR context) {
  EXPECT_EQ(headers, nullptr);
  EXPECT_EQ(headers_length, 0u);
  EXPECT_EQ(body, nullptr);
  EXPECT_EQ(body_length, 0u);
  EXPECT_EQ(total_length, 0u);
  EXPECT_EQ(context, 0u);
  return fake_websockets().send_request(request) ? TRUE : FALSE;
}

BOOL WINAPI receive_response(HINTERNET request, LPVOID reserved) {
  EXPECT_EQ(reserved, nullptr);
  return fake_websockets().receive_response(request) ? TRUE : FALSE;
}

HINTERNET WINAPI complete_upgrade(HINTERNET request, DWORD_PTR context) {
  EXPECT_EQ(context, 0u);
  return fake_websockets().complete_upgrade(request);
}

BOOL WINAPI query_data(HINTERNET socket, LPDWORD available) {
  EXPECT_NE(available, nullptr);
  return fake_websockets().query_data(socket) ? TRUE : FALSE;
}

DWORD WINAPI send(HINTERNET socket, WINHTTP_WEB_SOCKET_BUFFER_TYPE type, PVOID data, DWORD size) {
  return fake_websockets().send(socket, static_cast<WebSocketContent>(type),
                                {static_cast<const char*>(data), size});
}

DWORD WINAPI receive(HINTERNET socket, PVOID room, DWORD size, DWORD* received,
                     WINHTTP_WEB_SOCKET_BUFFER_TYPE* type) {
  std::uint32_t bytes = 0;
  auto content = WebSocketContent::kClose;
  const DWORD code = fake_websockets().receive(socket, room, size, bytes, content);
  *received = bytes;
  *type = static_cast<WINHTTP_WEB_SOCKET_BUFFER_TYPE>(content);
  return code;
}

DWORD WINAPI close_socket(HINTERNET socket, USHORT status, PVOID reason, DWORD reason_size) {
  EXPECT_EQ(reason, nullptr);
  EXPECT_EQ(reason_size, 0u);
  return fake_websockets().close_socket(socket, status);
}

DWORD WINAPI query_close_status(HINTERNET socket, USHORT* status, PVOID reason, DWORD reason_room,
                                DWORD* reason_size) {
  EXPECT_NE(status, nullptr);
  EXPECT_NE(reason, nullptr);
  EXPECT_NE(reason_size, nullptr);
  return fake_websockets().query_close_status(socket, reason_room);
}

BOOL WINAPI close_handle(HINTERNET handle) {
  fake_websockets().close(handle);
  return TRUE;
}

}  // namespace
}  // namespace orsin::test

extern "C" {
using namespace orsin::test;

decltype(&WinHttpOpen) __imp_WinHttpOpen = open;
decltype(&WinHttpConnect) __imp_WinHttpConnect = orsin::test::connect;
decltype(&WinHttpOpenRequest) __imp_WinHttpOpenRequest = open_request;
decltype(&WinHttpSetOption) __imp_WinHttpSetOption = set_option;
decltype(&WinHttpSendRequest) __imp_WinHttpSendRequest = send_request;
decltype(&WinHttpReceiveResponse) __imp_WinHttpReceiveResponse = receive_response;
decltype(&WinHttpWebSocketCompleteUpgrade) __imp_WinHttpWebSocketCompleteUpgrade = complete_upgrade;
decltype(&WinHttpQueryDataAvailable) __imp_WinHttpQueryDataAvailable = query_data;
decltype(&WinHttpWebSocketSend) __imp_WinHttpWebSocketSend = orsin::test::send;
decltype(&WinHttpWebSocketReceive) __imp_WinHttpWebSocketReceive = receive;
decltype(&WinHttpWebSocketClose) __imp_WinHttpWebSocketClose = close_socket;
decltype(&WinHttpWebSocketQueryCloseStatus) __imp_WinHttpWebSocketQueryCloseStatus =
    query_close_status;
decltype(&WinHttpCloseHandle) __imp_WinHttpCloseHandle = close_handle;
}
