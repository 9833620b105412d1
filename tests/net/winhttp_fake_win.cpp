// The functions of WinHTTP, answered by the recording library.
//
// Defined here, they keep the linker from taking them from the import library. So these tests run
// the real port, down to the arguments that it gives to the system; what is the same in every call
// is checked on the spot.
#include <gtest/gtest.h>

#include "base/win/windows.h"
#include "tests/platform/native/fake_websockets.h"

#define _WINHTTP_INTERNAL_  // Declares the functions without dllimport.
#include <winhttp.h>

using orsin::WebSocketContent;
using orsin::test::fake_websockets;

namespace {

std::u16string_view units(LPCWSTR text) {
  return reinterpret_cast<const char16_t*>(text);
}

}  // namespace

extern "C" {

HINTERNET WINAPI WinHttpOpen(LPCWSTR agent, DWORD access, LPCWSTR proxy, LPCWSTR bypass,
                             DWORD flags) {
  EXPECT_STREQ(agent, L"OvWebSocket");
  EXPECT_EQ(access, DWORD{WINHTTP_ACCESS_TYPE_DEFAULT_PROXY});
  EXPECT_EQ(proxy, nullptr);
  EXPECT_EQ(bypass, nullptr);
  EXPECT_EQ(flags, 0u);
  return fake_websockets().open();
}

HINTERNET WINAPI WinHttpConnect(HINTERNET session, LPCWSTR host, INTERNET_PORT port,
                                DWORD reserved) {
  EXPECT_EQ(reserved, 0u);
  return fake_websockets().connect(session, units(host), port);
}

HINTERNET WINAPI WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR path,
                                    LPCWSTR version, LPCWSTR referrer, LPCWSTR* accepted,
                                    DWORD flags) {
  EXPECT_STREQ(verb, L"GET");
  EXPECT_EQ(version, nullptr);
  EXPECT_EQ(referrer, nullptr);
  EXPECT_EQ(accepted, nullptr);
  EXPECT_EQ(flags, 0u);
  return fake_websockets().open_request(connection, units(path));
}

BOOL WINAPI WinHttpSetOption(HINTERNET request, DWORD option, LPVOID value, DWORD size) {
  EXPECT_EQ(option, DWORD{WINHTTP_OPTION_UPGRADE_TO_WEB_SOCKET});
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(size, 0u);
  return fake_websockets().set_option(request) ? TRUE : FALSE;
}

BOOL WINAPI WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD headers_length,
                               LPVOID body, DWORD body_length, DWORD total_length,
                               DWORD_PTR context) {
  EXPECT_EQ(headers, nullptr);
  EXPECT_EQ(headers_length, 0u);
  EXPECT_EQ(body, nullptr);
  EXPECT_EQ(body_length, 0u);
  EXPECT_EQ(total_length, 0u);
  EXPECT_EQ(context, 0u);
  return fake_websockets().send_request(request) ? TRUE : FALSE;
}

BOOL WINAPI WinHttpReceiveResponse(HINTERNET request, LPVOID reserved) {
  EXPECT_EQ(reserved, nullptr);
  return fake_websockets().receive_response(request) ? TRUE : FALSE;
}

HINTERNET WINAPI WinHttpWebSocketCompleteUpgrade(HINTERNET request, DWORD_PTR context) {
  EXPECT_EQ(context, 0u);
  return fake_websockets().complete_upgrade(request);
}

BOOL WINAPI WinHttpQueryDataAvailable(HINTERNET socket, LPDWORD available) {
  EXPECT_NE(available, nullptr);
  return fake_websockets().query_data(socket) ? TRUE : FALSE;
}

DWORD WINAPI WinHttpWebSocketSend(HINTERNET socket, WINHTTP_WEB_SOCKET_BUFFER_TYPE type, PVOID data,
                                  DWORD size) {
  return fake_websockets().send(socket, static_cast<WebSocketContent>(type),
                                {static_cast<const char*>(data), size});
}

DWORD WINAPI WinHttpWebSocketReceive(HINTERNET socket, PVOID room, DWORD size, DWORD* received,
                                     WINHTTP_WEB_SOCKET_BUFFER_TYPE* type) {
  std::uint32_t bytes = 0;
  auto content = WebSocketContent::kClose;
  const DWORD code = fake_websockets().receive(socket, room, size, bytes, content);
  *received = bytes;
  *type = static_cast<WINHTTP_WEB_SOCKET_BUFFER_TYPE>(content);
  return code;
}

DWORD WINAPI WinHttpWebSocketClose(HINTERNET socket, USHORT status, PVOID reason,
                                   DWORD reason_size) {
  EXPECT_EQ(reason, nullptr);
  EXPECT_EQ(reason_size, 0u);
  return fake_websockets().close_socket(socket, status);
}

DWORD WINAPI WinHttpWebSocketQueryCloseStatus(HINTERNET socket, USHORT* status, PVOID reason,
                                              DWORD reason_room, DWORD* reason_size) {
  EXPECT_NE(status, nullptr);
  EXPECT_NE(reason, nullptr);
  EXPECT_NE(reason_size, nullptr);
  return fake_websockets().query_close_status(socket, reason_room);
}

BOOL WINAPI WinHttpCloseHandle(HINTERNET handle) {
  fake_websockets().close(handle);
  return TRUE;
}

}  // extern "C"
