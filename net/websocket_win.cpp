// WebSockets over WinHTTP; see websocket_port.h.
#include "base/win/windows.h"
#include "net/websocket_port.h"

#include <winhttp.h>

namespace orsin::port {
namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));
static_assert(sizeof(INTERNET_PORT) == sizeof(std::uint16_t));

constexpr bool matches(WebSocketContent content, WINHTTP_WEB_SOCKET_BUFFER_TYPE type) {
  return static_cast<int>(content) == static_cast<int>(type);
}
static_assert(matches(WebSocketContent::kBinaryMessage,
                      WINHTTP_WEB_SOCKET_BINARY_MESSAGE_BUFFER_TYPE));
static_assert(matches(WebSocketContent::kBinaryFragment,
                      WINHTTP_WEB_SOCKET_BINARY_FRAGMENT_BUFFER_TYPE));
static_assert(matches(WebSocketContent::kUtf8Message, WINHTTP_WEB_SOCKET_UTF8_MESSAGE_BUFFER_TYPE));
static_assert(matches(WebSocketContent::kUtf8Fragment,
                      WINHTTP_WEB_SOCKET_UTF8_FRAGMENT_BUFFER_TYPE));
static_assert(matches(WebSocketContent::kClose, WINHTTP_WEB_SOCKET_CLOSE_BUFFER_TYPE));

const wchar_t* wide(const char16_t* text) {
  return reinterpret_cast<const wchar_t*>(text);
}

}  // namespace

void close_web_handle(void* handle) noexcept {
  const DWORD error = GetLastError();
  WinHttpCloseHandle(handle);
  SetLastError(error);
}

WebHandle open_web_session() noexcept {
  return WebHandle(WinHttpOpen(L"OvWebSocket", WINHTTP_ACCESS_TYPE_DEFAULT_PROXY,
                               WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
}

WebHandle connect_web_server(void* session, const char16_t* host, std::uint16_t port) noexcept {
  return WebHandle(WinHttpConnect(session, wide(host), port, 0));
}

WebHandle open_web_request(void* connection, const char16_t* path) noexcept {
  return WebHandle(WinHttpOpenRequest(connection, L"GET", wide(path), nullptr, WINHTTP_NO_REFERER,
                                      WINHTTP_DEFAULT_ACCEPT_TYPES, 0));
}

bool request_websocket(void* request) noexcept {
  return WinHttpSetOption(request, WINHTTP_OPTION_UPGRADE_TO_WEB_SOCKET, nullptr, 0) != 0;
}

bool send_web_request(void* request) noexcept {
  return WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                            0, 0) != 0;
}

bool receive_web_response(void* request) noexcept {
  return WinHttpReceiveResponse(request, nullptr) != 0;
}

WebHandle complete_websocket(void* request) noexcept {
  return WebHandle(WinHttpWebSocketCompleteUpgrade(request, 0));
}

void query_web_data(void* socket) noexcept {
  DWORD available = 0;
  WinHttpQueryDataAvailable(socket, &available);
}

std::uint32_t send_websocket(void* socket, WebSocketContent content, const void* data,
                             std::uint32_t size) noexcept {
  return WinHttpWebSocketSend(socket, static_cast<WINHTTP_WEB_SOCKET_BUFFER_TYPE>(content),
                              const_cast<void*>(data), size);
}

WebSocketPart receive_websocket(void* socket, void* room, std::uint32_t size) noexcept {
  DWORD received = 0;
  WINHTTP_WEB_SOCKET_BUFFER_TYPE type = WINHTTP_WEB_SOCKET_CLOSE_BUFFER_TYPE;
  const DWORD code = WinHttpWebSocketReceive(socket, room, size, &received, &type);
  return {code, received, static_cast<WebSocketContent>(type)};
}

std::uint32_t close_websocket(void* socket) noexcept {
  return WinHttpWebSocketClose(socket, WINHTTP_WEB_SOCKET_SUCCESS_CLOSE_STATUS, nullptr, 0);
}

std::uint32_t query_websocket_farewell(void* socket, WebSocketFarewell& farewell) noexcept {
  DWORD reason_size = 0;
  const DWORD code =
      WinHttpWebSocketQueryCloseStatus(socket, &farewell.status, farewell.reason,
                                       static_cast<DWORD>(kCloseReasonBytes), &reason_size);
  farewell.reason_size = reason_size;
  return code;
}

}  // namespace orsin::port
