// The WebSocket client's port over the recording library: native builds have no network.
#include "net/websocket_port.h"
#include "tests/platform/native/fake_websockets.h"

namespace orsin::port {

using test::fake_websockets;

void close_web_handle(void* handle) noexcept {
  fake_websockets().close(handle);
}

WebHandle open_web_session() noexcept {
  return WebHandle(fake_websockets().open());
}

WebHandle connect_web_server(void* session, const char16_t* host, std::uint16_t port) noexcept {
  return WebHandle(fake_websockets().connect(session, host, port));
}

WebHandle open_web_request(void* connection, const char16_t* path) noexcept {
  return WebHandle(fake_websockets().open_request(connection, path));
}

bool request_websocket(void* request) noexcept {
  return fake_websockets().set_option(request);
}

bool send_web_request(void* request) noexcept {
  return fake_websockets().send_request(request);
}

bool receive_web_response(void* request) noexcept {
  return fake_websockets().receive_response(request);
}

WebHandle complete_websocket(void* request) noexcept {
  return WebHandle(fake_websockets().complete_upgrade(request));
}

void query_web_data(void* socket) noexcept {
  fake_websockets().query_data(socket);
}

std::uint32_t send_websocket(void* socket, WebSocketContent content, const void* data,
                             std::uint32_t size) noexcept {
  return fake_websockets().send(socket, content, {static_cast<const char*>(data), size});
}

WebSocketPart receive_websocket(void* socket, void* room, std::uint32_t size) noexcept {
  WebSocketPart part = {};
  part.code = fake_websockets().receive(socket, room, size, part.size, part.content);
  return part;
}

std::uint32_t close_websocket(void* socket) noexcept {
  constexpr std::uint16_t kStatusNormal = 1000;
  return fake_websockets().close_socket(socket, kStatusNormal);
}

std::uint32_t query_websocket_farewell(void* socket, WebSocketFarewell& farewell) noexcept {
  return fake_websockets().query_close_status(socket, sizeof(farewell.reason));
}

}  // namespace orsin::port
