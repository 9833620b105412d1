// What the WebSocket client asks of the platform, one system call a function. websocket_win.cpp
// answers with WinHTTP.
//
// Sessions, connections, requests and sockets are all the platform's web handles: null is none, and
// WebHandle closes what it owns. Functions that return a handle or a bool leave the last system
// error set when they fail; those that return a code return the system's, 0 for success, and say
// nothing about the last error. All of them block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace orsin {
namespace port {

/// Any kind of handle; the last system error stays as it was. Windows: WinHttpCloseHandle.
void close_web_handle(void* handle) noexcept;

}  // namespace port

struct CloseWebHandle {
  void operator()(void* handle) const noexcept { port::close_web_handle(handle); }
};
using WebHandle = std::unique_ptr<void, CloseWebHandle>;

/// What arrived, or what is to be sent.
enum class WebSocketContent : std::uint32_t {
  kBinaryMessage = 0,   // Whole, or the last part of one.
  kBinaryFragment = 1,  // A part that others follow.
  kUtf8Message = 2,
  kUtf8Fragment = 3,
  kClose = 4,
};

namespace port {

/// A session of the agent "OvWebSocket" through the default proxy. Windows: WinHttpOpen.
[[nodiscard]] WebHandle open_web_session() noexcept;

/// Names the server; nothing is sent yet. Windows: WinHttpConnect.
[[nodiscard]] WebHandle connect_web_server(void* session, const char16_t* host,
                                           std::uint16_t port) noexcept;

/// A GET request without encryption. Windows: WinHttpOpenRequest.
[[nodiscard]] WebHandle open_web_request(void* connection, const char16_t* path) noexcept;

/// Makes the request ask for a WebSocket. Windows: WinHttpSetOption.
[[nodiscard]] bool request_websocket(void* request) noexcept;

/// Windows: WinHttpSendRequest, without headers and body.
[[nodiscard]] bool send_web_request(void* request) noexcept;

/// Windows: WinHttpReceiveResponse.
[[nodiscard]] bool receive_web_response(void* request) noexcept;

/// The socket that the request has become. Windows: WinHttpWebSocketCompleteUpgrade.
[[nodiscard]] WebHandle complete_websocket(void* request) noexcept;

/// Windows: WinHttpQueryDataAvailable.
void query_web_data(void* socket) noexcept;

/// Windows: WinHttpWebSocketSend.
[[nodiscard]] std::uint32_t send_websocket(void* socket, WebSocketContent content, const void* data,
                                           std::uint32_t size) noexcept;

struct WebSocketPart {
  std::uint32_t code;  // The system's; the rest is only good when it is 0.
  std::uint32_t size;  // Bytes that were written into the room.
  WebSocketContent content;
};

/// Waits for the next part of a message. Windows: WinHttpWebSocketReceive.
[[nodiscard]] WebSocketPart receive_websocket(void* socket, void* room,
                                              std::uint32_t size) noexcept;

/// Status 1000 without a reason; waits for the server's close frame.
/// Windows: WinHttpWebSocketClose.
[[nodiscard]] std::uint32_t close_websocket(void* socket) noexcept;

constexpr std::size_t kCloseReasonBytes = 123;  // The longest that RFC 6455 allows.

struct WebSocketFarewell {
  std::uint16_t status;
  std::uint8_t reason[kCloseReasonBytes];
  std::uint32_t reason_size;
};

/// What the server's close frame said. Windows: WinHttpWebSocketQueryCloseStatus.
[[nodiscard]] std::uint32_t query_websocket_farewell(void* socket,
                                                     WebSocketFarewell& farewell) noexcept;

}  // namespace port
}  // namespace orsin
